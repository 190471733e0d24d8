
// --- Line: each set with its unit, and the question that waits ---

function stateOf(set) {
    const run = set.run;
    if (!set.up) {
        return 'lost';
    }
    if (!run) {
        return 'idle';
    }
    return { running: 'running', died: 'died', waived: 'waived' }[run.state] ?? run.verdict;
}

class SlotCard {
    constructor(name) {
        this.name = name;
        this.shape = make('span', { class: 'shape', 'aria-hidden': 'true' });
        this.word = make('span', { class: 'word', role: 'status' });
        this.unit = make('span', { class: 'unit' });
        this.plan = make('p', { class: 'what' });
        this.step = make('p', { class: 'step-name' });
        this.bar = make('progress', { 'aria-label': `Steps of the run at ${name}`, max: '1', value: '0' });
        this.why = make('p', { class: 'why' });
        this.question = make('div', { class: 'question' });
        this.trouble = make('div', {});
        this.stop = make('button', { type: 'button', class: 'stop', onclick: () => this.end() }, 'Stop');
        this.form = make('form', { class: 'start', onsubmit: (event) => this.start(event) });
        this.element = make('section', { class: 'slot', 'aria-label': name },
            make('div', { class: 'tower' }, this.shape, make('div', { class: 'head' }, make('h2', {}, name), this.word, this.unit)),
            this.plan, this.bar, this.step, this.why, this.question, this.form, this.stop, this.trouble);
        this.shown = '';
        this.makeForm();
    }

    async makeForm() {
        if (!mayChange()) {
            return;
        }
        const names = await getJson('/api/plans');
        const chosen = remembered(`plan/${this.name}`, names.includes('line') ? 'line' : names[0]);
        this.select = make('select', { onchange: () => this.choose() }, ...names.map((name) => option(name)));
        this.select.value = names.includes(chosen) ? chosen : names[0];
        this.fields = make('div', { class: 'fields' });
        this.shared = make('input', { type: 'checkbox', id: newId() });
        const share = make('div', { class: 'check' }, this.shared, make('label', { for: this.shared.id }, 'Others may act on the set meanwhile'));
        this.button = make('button', { type: 'submit', class: 'primary' }, 'Start');
        this.form.replaceChildren(labeled('Plan', this.select), this.fields, this.button, share);
        await this.choose();
    }

    // A field for each parameter; the one that names the unit is the scanner's.
    async choose() {
        await attempt(this.trouble, async () => {
            remember(`plan/${this.name}`, this.select.value);
            this.fields.replaceChildren();
            this.button.disabled = true;
            const plan = await getJson('/api/plan', { plan: this.select.value, set: this.name });
            if (!plan.good) {
                throw new Error(`The plan has problems: ${plan.problems.map((one) => one.problem).join('; ')}`);
            }
            this.inputs = (plan.run?.parameters ?? []).map((parameter) => {
                const isUnit = (plan.run.unit ?? '').includes(`\${${parameter.name}}`);
                const input = make('input', {
                    name: parameter.name, autocomplete: 'off', spellcheck: 'false', class: isUnit ? 'scan' : '',
                    required: parameter.default === null, pattern: parameter.matches || null,
                });
                input.value = parameter.default ?? '';
                this.fields.append(labeled(parameter.what || parameter.name, input, isUnit ? 'scan or type, then Enter' : ''));
                return input;
            });
            this.button.disabled = false;
            if (document.activeElement === document.body) {
                this.inputs[0]?.focus({ preventScroll: true });
            }
        });
    }

    async start(event) {
        event.preventDefault();
        await attempt(this.trouble, async () => {
            const parameters = Object.fromEntries(this.inputs.map((input) => [input.name, input.value]));
            await post('/api/start', { set: this.name, plan: this.select.value, parameters, shared: this.shared.checked });
            this.inputs.filter((input) => input.className === 'scan').forEach((input) => { input.value = ''; });
        });
    }

    end() {
        return attempt(this.trouble, () => post('/api/stop', { set: this.name }));
    }

    show(set) {
        const run = set.run, now = stateOf(set);
        const isRunning = now === 'running';
        this.element.className = `slot ${verdictClass(now)}`;
        setText(this.shape, kShapes[now] ?? '·');
        setText(this.word, kWords[now] ?? now);
        setText(this.unit, run?.unit ?? '');
        setText(this.plan, run ? `${run.plan}, ${run.ended} of ${run.steps} steps${run.bad ? `, ${run.bad} bad` : ''}` : 'No unit yet');
        this.bar.max = run?.steps || 1;
        this.bar.value = run?.ended ?? 0;
        setText(this.step, isRunning ? `${run.step}${run.attempt > 1 ? ` (attempt ${run.attempt})` : ''}` : '');
        setText(this.why, now === 'lost' ? set.trouble : run?.state === 'died' ? 'The run\'s process is gone without a verdict.'
            : run?.lost ? 'The connection to the run was lost.' : run?.verdict !== 'passed' ? run?.why ?? '' : '');
        this.stop.hidden = !isRunning || !mayChange();
        this.form.hidden = isRunning || !mayChange();
        const start = values[`start/${this.name}`];
        const text = start ? `The run did not begin: ${start.text}` : '';
        if (text !== this.told) {
            this.told = text;
            this.trouble.replaceChildren(...(text ? [make('p', { class: 'trouble', role: 'alert' }, text)] : []));
        }
        this.showQuestion(set.prompts?.[0]);
    }

    showQuestion(prompt) {
        const shown = prompt ? String(prompt.prompt) : '';
        if (shown === this.shown) {
            return;
        }
        this.shown = shown;
        this.question.replaceChildren();
        this.element.classList.toggle('asks', Boolean(prompt));
        if (!prompt) {
            return;
        }
        const note = make('div', {});
        const give = (answer) => attempt(note, async () => {
            const { taken, why } = await post('/api/answer',
                { set: this.name, prompt: prompt.prompt, answer, who: remembered('operator') });
            if (!taken) {
                this.trouble.replaceChildren(make('p', { class: 'trouble', role: 'alert' }, `Your answer does not count: ${why}`));
            }
        });
        const button = (answer, text, at) => make('button', { type: 'button', class: 'large', 'data-key': at, onclick: () => give(answer) },
            make('kbd', {}, String(at)), ` ${text}`);
        const parts = {
            ask: () => [button('yes', 'Yes', 1), button('no', 'No', 2)],
            choose: () => prompt.choices.map((choice, at) => button(choice, choice, at + 1)),
            scan: () => {
                const input = make('input', { class: 'scan', autocomplete: 'off', spellcheck: 'false' });
                return [make('form', { onsubmit: (event) => { event.preventDefault(); give(input.value); } },
                    labeled('Scan', input, 'scan or type, then Enter'), make('button', { class: 'large' }, 'Give'))];
            },
            show: () => [button('done', 'Done', 1)],
        };
        const picture = prompt.picture ? [make('img', { class: 'asked', alt: 'What the set shows', src: pictureOf(this.name, Date.now()) })] : [];
        this.question.append(make('p', { class: 'text', role: 'alert' }, prompt.text), ...picture);
        if (mayChange()) {
            this.question.append(make('div', { class: 'answers' }, ...(parts[prompt.kind] ?? parts.show)()), note);
            this.question.querySelector('input')?.focus();
        }
    }
}

const pictureOf = (set, number) => `/api/picture?${new URLSearchParams({ set, number })}`;

// A digit answers a question, where nobody types into a field.
document.addEventListener('keydown', (event) => {
    if (!event.target.matches('input, select, textarea') && !event.ctrlKey && !event.altKey && !event.metaKey) {
        document.querySelector(`.question [data-key="${CSS.escape(event.key)}"]`)?.click();
    }
});

pages.line = {
    title: 'Line',
    open(root) {
        this.cards = new Map();
        this.slots = make('div', { class: 'slots' });
        this.recent = make('div', {});
        const operator = make('input', { autocomplete: 'name', oninput: () => remember('operator', operator.value) });
        operator.value = remembered('operator');
        root.append(make('h1', { class: 'hidden' }, 'Line'), this.slots, make('h2', {}, 'Last units'), this.recent,
            mayChange() ? labeled('Operator', operator, 'recorded with answers') : '');
        this.shown = null;
        follow('');
    },
    show() {
        for (const set of sets()) {
            if (!this.cards.has(set.name)) {
                const card = new SlotCard(set.name);
                this.cards.set(set.name, card);
                this.slots.append(card.element);
            }
            this.cards.get(set.name).show(set);
        }
        if (this.shown !== values.recent) {
            this.shown = values.recent;
            const rows = (values.recent ?? []).map(runRow);
            this.recent.replaceChildren(rows.length ? table(kRunTitles, rows, 'Last units') : make('p', { class: 'note' }, 'No unit yet.'));
        }
        if (values.store?.text) {
            this.recent.replaceChildren(make('p', { class: 'trouble' }, values.store.text));
        }
    },
};
