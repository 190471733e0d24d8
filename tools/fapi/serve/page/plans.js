
// --- Plans: their text, what is wrong with it, and what a run would do ---

pages.plans = {
    title: 'Plans',
    open(root, [name]) {
        follow('');
        this.name = name;
        this.trouble = make('div', {});
        this.shown = make('div', {});
        this.chosen = make('div', {});
        root.append(make('h1', {}, 'Plans'), this.chosen, this.trouble, this.shown);
        attempt(this.trouble, async () => {
            const names = await getJson('/api/plans');
            const select = make('select', { onchange: () => { location.hash = `#/plans/${encodeURIComponent(select.value)}`; } }, ...names.map((one) => option(one)));
            select.value = names.includes(this.name) ? this.name : names[0];
            this.chosen.replaceChildren(labeled('Plan', select));
            await this.load(select.value);
        });
    },
    async load(name) {
        const set = sets()[0]?.name ?? (await this.firstSet());
        const plan = await getJson('/api/plan', { plan: name, set });
        const at = new Map();
        plan.problems.forEach((one) => at.set(one.line ?? 0, [...(at.get(one.line ?? 0) ?? []), one]));
        const notes = (line) => (at.get(line) ?? []).map((one) => make('span', { class: one.warning ? 'warning' : 'problem' },
            `${one.warning ? 'warning: ' : 'problem: '}${one.problem ?? one.warning}`));
        const lines = plan.text.replace(/\n$/, '').split('\n').map((line, index) => make('li', {}, make('code', {}, line || ' '), ...notes(index + 1)));
        const start = make('button', { type: 'button', class: 'primary', onclick: () => {
            remember(`plan/${set}`, name);
            location.hash = '#/line';
        } }, 'To the line with this plan');
        this.shown.replaceChildren(
            make('p', { class: plan.good ? 'good' : 'trouble', role: 'status' }, plan.good ? `✓ ${plan.file}: nothing is wrong` : `✕ ${plan.file}: it cannot run`),
            ...notes(0), ...(plan.good && mayChange() ? [start] : []),
            make('details', { open: true }, make('summary', {}, make('h2', {}, 'Text')), make('ol', { class: 'text', tabindex: '0', 'aria-label': 'Text of the plan' }, ...lines)),
            ...(plan.limits ? [make('details', {}, make('summary', {}, make('h2', {}, 'Limits')), make('pre', { class: 'log', tabindex: '0' }, plan.limits))] : []),
            ...(plan.run ? [make('details', {}, make('summary', {}, make('h2', {}, 'Dry run')), make('ol', { class: 'dry' },
                ...plan.run.steps.map((step) => make('li', {}, make('strong', {}, `${step.teardown ? 'teardown: ' : ''}${step.step}`),
                    make('pre', {}, step.lines.join('\n'))))))] : []));
    },
    // The stream may not have come yet.
    async firstSet() {
        for (let tries = 0; tries < 50 && !sets().length; ++tries) {
            await new Promise((done) => setTimeout(done, 100));
        }
        return sets()[0]?.name ?? '';
    },
};
