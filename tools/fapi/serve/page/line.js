
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
        this.question = new QuestionBox(name);
        this.trouble = make('div', {});
        this.stop = make('button', { type: 'button', class: 'stop', onclick: () => this.end() }, 'Stop');
        this.form = make('form', { class: 'start', onsubmit: (event) => this.start(event) });
        this.element = make('section', { class: 'slot', 'aria-label': name },
            make('div', { class: 'tower' }, this.shape, make('div', { class: 'head' }, make('h2', {}, name), this.word, this.unit)),
            this.plan, this.bar, this.step, this.why, this.question.element, this.form, this.stop, this.trouble);
        this.makeForm();
    }

    // The form has its place before it is known what goes into it, so that nothing moves then.
    async makeForm() {
        if (!mayChange()) {
            return;
        }
        this.select = make('select', { onchange: () => this.choose() }, option(remembered(`plan/${this.name}`, 'line')));
        this.fields = make('div', { class: 'fields' });
        this.fields.style.minHeight = remembered(`fields/${this.name}`, '76px');
        this.shared = make('input', { type: 'checkbox', id: newId() });
        const share = make('div', { class: 'check' }, this.shared, make('label', { for: this.shared.id }, 'Others may act on the set meanwhile'));
        this.button = make('button', { type: 'submit', class: 'primary', disabled: '' }, 'Start');
        this.form.append(labeled('Plan', this.select), this.fields, this.button, share);
        await attempt(this.trouble, async () => {
            const chosen = this.select.value, names = await getJson('/api/plans');
            this.select.replaceChildren(...names.map((name) => option(name)));
            this.select.value = names.includes(chosen) ? chosen : names[0];
        });
        await this.choose();
    }

    // A field for each parameter; the one that names the unit is the scanner's.
    async choose() {
        const choice = this.choice = {};
        await attempt(this.trouble, async () => {
            remember(`plan/${this.name}`, this.select.value);
            this.button.disabled = true;
            this.fields.querySelectorAll('input').forEach((input) => { input.disabled = true; });
            const plan = await getJson('/api/plan', { plan: this.select.value, set: this.name });
            if (choice !== this.choice) {
                // Another plan has been chosen meanwhile.
                return;
            }
            const parameters = plan.run?.parameters ?? [];
            this.inputs = parameters.map((parameter) => this.inputOf(parameter, plan.run));
            this.fields.replaceChildren(...this.inputs.map((input, at) => labeled(parameters[at].what || parameters[at].name, input,
                input.className === 'scan' ? 'scan or type, then Enter' : '')));
            if (!plan.good) {
                throw new Error(`The plan has problems: ${plan.problems.map((one) => one.problem).join('; ')}`);
            }
            this.fields.style.minHeight = '';
            remember(`fields/${this.name}`, `${this.fields.offsetHeight}px`);
            this.button.disabled = false;
            if (document.activeElement === document.body) {
                this.inputs[0]?.focus({ preventScroll: true });
            }
        });
    }

    inputOf(parameter, run) {
        const isUnit = (run.unit ?? '').includes(`\${${parameter.name}}`);
        const input = make('input', {
            name: parameter.name, autocomplete: 'off', spellcheck: 'false', class: isUnit ? 'scan' : '',
            required: parameter.default === null, pattern: parameter.matches || null,
        });
        input.value = parameter.default ?? '';
        return input;
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
        const word = kWords[now] ?? now;
        setText(this.word, word);
        this.word.style.setProperty('--letters', Math.max(...word.split(' ').map((part) => part.length)));
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
        const text = !start ? '' : start.code ? `The run did not begin: ${start.text}` : isRunning ? '' : 'The run is about to begin.';
        if (text !== this.told) {
            this.told = text;
            this.trouble.replaceChildren(...(text ? [make('p', start.code ? { class: 'trouble', role: 'alert' } : { class: 'note', role: 'status' }, text)] : []));
        }
        this.question.show(set.prompts?.[0]);
        this.element.classList.toggle('asks', Boolean(set.prompts?.length));
        this.keepHeight();
    }

    // What is below a card does not move up while its form is away for a run, and down again after it.
    keepHeight() {
        if (this.width !== this.element.offsetWidth) {
            this.width = this.element.offsetWidth;
            this.element.style.minHeight = '';
        }
        if (!this.question.text.childElementCount) {
            this.element.style.minHeight = `${this.element.offsetHeight}px`;
        }
    }
}

pages.line = {
    title: 'Line',
    open(root) {
        this.cards = new Map();
        this.slots = make('div', { class: 'slots' });
        this.recent = make('div', {});
        this.store = make('p', { class: 'trouble', role: 'status' });
        const operator = make('input', { autocomplete: 'name', oninput: () => remember('operator', operator.value) });
        operator.value = remembered('operator');
        // Shown below the slots, once it is known how many there are.
        this.below = make('div', { class: 'below', hidden: '' }, make('h2', {}, 'Last units'), this.store, this.recent,
            mayChange() ? labeled('Operator', operator, 'recorded with answers') : '');
        root.append(make('h1', { class: 'hidden' }, 'Line'), this.slots, this.below);
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
        this.below.hidden = this.cards.size === 0;
        if (this.shown !== values.recent) {
            this.shown = values.recent;
            const rows = (values.recent ?? []).map(runRow);
            this.recent.replaceChildren(rows.length ? table(kRunTitles, rows, 'Last units') : make('p', { class: 'note' }, 'No unit yet.'));
        }
        setText(this.store, values.store?.text ? `The results cannot be read: ${values.store.text}` : '');
    },
};
