
// --- Units and statistics: what the store of results holds ---

const kRunTitles = ['Run', 'When', 'Verdict', 'Unit', 'Plan', 'Steps', 'Time'];

function runRow(run) {
    return [
        make('a', { href: `#/units/${run.number}` }, `${run.number}`), (run.when ?? run.began).slice(0, 19).replace('T', ' '),
        badge(run.verdict ?? 'not run'), run.unit ?? '', run.plan,
        `${run.passed} passed${run.marginal ? `, ${run.marginal} marginal` : ''}${run.failed ? `, ${run.failed} failed` : ''}`, duration(run.seconds),
    ];
}

// A form whose fields are a question to the store; empty fields ask for nothing.
function filterForm(fields, use) {
    const inputs = fields.map(([name, text, type, choices]) => {
        const input = choices ? make('select', { name }, ...choices.map((one) => option(one, one || 'any'))) : make('input', { name, type, autocomplete: 'off' });
        return labeled(text, input);
    });
    const form = make('form', { class: 'filter', onsubmit: (event) => { event.preventDefault(); use(Object.fromEntries(new FormData(form))); } },
        ...inputs, make('button', { type: 'submit', class: 'primary' }, 'Show'));
    return form;
}

const kVerdicts = ['', 'passed', 'marginal', 'failed', 'error', 'interrupted', 'unfinished'];

const numberText = (value) => Number(value).toPrecision(6).replace(/\.?0+$/, '');
function measured({ name, unit, value, text, low, high, verdict }) {
    const has = (limit) => limit !== null && limit !== undefined;
    const limits = has(low) || has(high) ? `${has(low) ? numberText(low) : ''} .. ${has(high) ? numberText(high) : ''}` : '';
    return [name, has(value) ? `${numberText(value)} ${unit}` : text ?? '', limits, verdict ? badge(verdict) : ''];
}

pages.units = {
    title: 'Units',
    open(root, words) {
        follow('');
        this.shown = make('div', {});
        this.trouble = make('div', {});
        if (words.length > 1) {
            root.append(make('h1', {}, `Runs ${words[0]} and ${words[1]}`), this.trouble, this.shown);
            attempt(this.trouble, () => this.compare(words[0], words[1]));
        } else if (words.length === 1) {
            root.append(make('h1', {}, `Run ${words[0]}`), this.trouble, this.shown);
            attempt(this.trouble, () => this.run(words[0]));
        } else {
            root.append(make('h1', {}, 'Units'), filterForm([['unit', 'Unit', 'search'], ['plan', 'Plan', 'search'],
                ['verdict', 'Verdict', '', kVerdicts], ['since', 'Since', 'date'], ['until', 'Until', 'date'], ['text', 'Text', 'search']],
            (query) => attempt(this.trouble, () => this.search(query))), this.trouble, this.shown);
            attempt(this.trouble, () => this.search({}));
        }
    },
    async search(query, before = '', rows = []) {
        const runs = await getJson('/api/runs', { ...query, before });
        const all = [...rows, ...runs.map(runRow)];
        const more = runs.length === 100 ? [make('button', { type: 'button', onclick: () => attempt(this.trouble,
            () => this.search(query, runs[runs.length - 1].number, all)) }, 'Older runs')] : [];
        this.shown.replaceChildren(all.length ? table(kRunTitles, all, 'Runs') : make('p', { class: 'note' }, 'No such runs.'), ...more);
    },
    async run(number) {
        const run = await getJson('/api/run', { run: number });
        const other = make('input', { inputmode: 'numeric', required: true, size: '8' });
        const facts = [['Unit', run.unit], ['Plan', run.plan], ['Began', run.when], ['Time', duration(run.seconds)], ['Attempt', run.attempt],
            ['Station', run.station], ['Operator', run.person], ['Library', run.library], ['Waived', run.waiver && `${run.waived_by}: ${run.waiver}`]];
        const bad = (step) => !['passed', 'not run', 'skipped'].includes(step.verdict);
        const steps = [...run.steps.filter(bad), ...run.steps.filter((step) => !bad(step))];
        const measurements = run.steps.flatMap((step) => step.measurements.filter((one) => one.final).map(measured));
        this.shown.replaceChildren(
            make('div', { class: `verdict ${verdictClass(run.verdict ?? 'not-run')}` }, make('span', { class: 'word' }, kWords[run.verdict] ?? 'NO VERDICT'),
                make('div', { class: 'what' }, run.why ? `${run.deciding_step}: ${run.why}` : `${run.passed} steps passed`)),
            make('dl', { class: 'facts' }, ...facts.filter(([, value]) => value).flatMap(([name, value]) => [make('dt', {}, name), make('dd', {}, `${value}`)])),
            make('p', {}, make('a', { href: `/api/report?run=${run.id}`, target: '_blank', rel: 'noopener' }, 'The whole report')),
            make('form', { class: 'filter', onsubmit: (event) => { event.preventDefault(); location.hash = `#/units/${other.value}/${number}`; } },
                labeled('Compare with run', other), make('button', { type: 'submit' }, 'Compare')),
            make('h2', {}, 'Steps'),
            table(['Verdict', 'Step', 'Time', 'Why'], steps.map((step) => [badge(step.verdict), step.name, duration(step.seconds), step.text]), 'Steps'),
            ...(measurements.length ? [make('h2', {}, 'Measurements'), table(['Measurement', 'Value', 'Limits', 'Verdict'], measurements, 'Measurements')] : []));
    },
    async compare(before, after) {
        const told = await getJson('/api/comparison', { before, after });
        const text = (value) => (value === null ? 'none' : typeof value === 'number' ? numberText(value) : String(value));
        const rows = told.changes.map((change) => [change.step, change.what, text(change.before), text(change.after)]);
        this.shown.replaceChildren(table(kRunTitles, [told.before, told.after].map(runRow), 'The two runs'), make('h2', {}, 'Differences'),
            rows.length ? table(['Step', 'What', `Run ${told.before.number}`, `Run ${told.after.number}`], rows, 'Differences') : make('p', {}, 'None.'));
    },
};

pages.statistics = {
    title: 'Statistics',
    open(root) {
        follow('');
        this.shown = make('div', {});
        this.trouble = make('div', {});
        root.append(make('h1', {}, 'Statistics'), filterForm([['plan', 'Plan', 'search'], ['since', 'Since', 'date'], ['until', 'Until', 'date'],
            ['unit', 'Unit', 'search'], ['measurement', 'Measurement', 'search']], (query) => this.load(query)), this.trouble, this.shown);
        this.load({});
    },
    load(query) {
        return attempt(this.trouble, async () => {
            const text = await (await get('/api/statistics', query)).text();
            // The server has made elements of it, in which what a unit or plan is called is text.
            const parsed = new DOMParser().parseFromString(text, 'text/html');
            this.shown.replaceChildren(document.adoptNode(parsed.querySelector('.statistics')));
        });
    },
};
