
// --- Set: what a person does to it, and what it shows ---

// What of the description belongs together. What is in no row is below "More".
const kPanels = [
    ['Keypad and remote control', ['key', 'key-code', 'keypad']],
    ['Plugs and sources', ['plug', 'unplug', 'input', 'hdmi', 'lock-tuner', 'unlock-tuner', 'ber', 'tuner']],
    ['Voltages', ['voltage', 'adc']],
    ['Pads', ['drive', 'pad', 'invert', 'play-pad', 'break-pad']],
    ['LED ring', ['leds']],
    ['I2C devices', ['iic', 'iic-memory', 'iic-write', 'iic-device', 'iic-remove']],
    ['Serial terminal', ['ports', 'type', 'sent', 'hang-up', 'pipe']],
    ['Faults', ['fault', 'clear-faults', 'refusals']],
];
const kMostButtons = 16;

function outputText(value) {
    if (value === null || typeof value !== 'object') {
        return String(value);
    }
    if ('hex' in value) {
        return value.hex.replace(/(..)/g, '$1 ').trim();
    }
    return Object.entries(value).map(([name, part]) => `${name} ${outputText(part)}`).join(', ');
}

// An action as a form made of its description.
class ActionForm {
    // `by` is who does it at this station; none for what the set's agent does.
    constructor(set, action, by) {
        this.set = set;
        this.action = action;
        this.danger = by ? 'changes' : action.danger ?? 'changes';
        this.output = make('div', { class: 'output', 'aria-live': 'polite' });
        this.fields = (action.arguments ?? []).map((argument) => this.field(argument));
        const looks = this.danger === 'reads';
        const buttons = looks || mayChange() ? this.buttons(looks) : [];
        this.element = make('form', { class: 'action', onsubmit: (event) => { event.preventDefault(); this.send(this.words()); } },
            make('h3', {}, action.name), make('p', { class: 'note' }, by ? `${action.help} By ${by}.` : action.help),
            make('div', { class: 'fields' }, ...this.shown.map(({ label }) => label), ...buttons), this.output);
    }

    field(argument) {
        const hasDefault = argument.default !== undefined && argument.default !== null;
        const isList = argument.kind === 'choice' && (argument.choices ?? []).length > 0;
        let input;
        if (isList || argument.kind === 'flag') {
            const names = isList ? argument.choices.map((choice) => choice.name) : ['on', 'off'];
            input = make('select', {}, ...(hasDefault ? [option('', `(${argument.default})`)] : []), ...names.map((name) => option(name)));
        } else {
            const list = (argument.choices ?? []).length ? make('datalist', { id: newId() }, ...argument.choices.map((one) => option(one.name))) : null;
            input = make('input', {
                placeholder: hasDefault ? argument.default || 'empty' : null, required: !hasDefault, autocomplete: 'off', spellcheck: 'false',
                list: list?.id, inputmode: argument.kind === 'number' ? 'numeric' : null,
            });
            if (list) {
                this.lists = [...(this.lists ?? []), list];
            }
        }
        const hint = argument.kind === 'number' && argument.max ? `${argument.min ?? 0} to ${argument.max}` : argument.unit ?? '';
        const label = labeled(argument.name.toLowerCase().replace(/_/g, ' '), input, hint);
        label.append(...(this.lists?.splice(0) ?? []));
        return { argument, input, label };
    }

    // The only argument, where it has few values, needs no field: each value is a button.
    values() {
        const only = this.fields.length === 1 ? this.fields[0].argument : null;
        if (!only || (only.default !== undefined && only.default !== null)) {
            return null;
        }
        if (only.kind === 'number' && only.max > 0 && only.max - (only.min ?? 0) < kMostButtons) {
            return Array.from({ length: only.max - (only.min ?? 0) + 1 }, (_, at) => String((only.min ?? 0) + at));
        }
        return only.kind === 'flag' ? ['on', 'off'] : null;
    }

    buttons(looks) {
        const values = this.values();
        if (!values) {
            return [make('button', { type: 'submit' }, looks ? 'Show' : 'Do')];
        }
        return values.map((value) => make('button', {
            type: 'button', class: 'value', 'aria-label': `${this.action.name} ${value}`, onclick: () => this.send([this.action.name, value]),
        }, value));
    }

    get shown() {
        return this.values() ? [] : this.fields;
    }

    // What is empty at the end is left out.
    words() {
        const words = this.fields.map(({ argument, input }) => input.value || (argument.default ?? ''));
        let count = words.length;
        while (count > 0 && this.fields[count - 1].input.value === '') {
            --count;
        }
        return [this.action.name, ...words.slice(0, count)];
    }

    send(words) {
        return attempt(this.output, async () => {
            const looks = this.danger === 'reads';
            const destroys = !looks && this.danger !== 'changes';
            if (destroys && !confirm(`${this.action.help} This cannot be taken back.`)) {
                return;
            }
            const quoted = words.map((word) => `"${word.replace(/["\\]/g, '\\$&')}"`).join(' ');
            this.output.replaceChildren(make('p', { class: 'note' }, 'under way'));
            const result = looks ? await getJson('/api/look', { set: this.set, words: quoted })
                : await post('/api/act', { set: this.set, words, confirm: destroys });
            this.tell(result);
        });
    }

    tell(result) {
        const rows = (result.outputs ?? []).flatMap(({ name, value, rows: list }) => [
            make('dt', {}, name.replace(/_/g, ' ')),
            make('dd', {}, list ? list.map((row) => outputText(row.value ?? row.fields ?? row)).join('; ') || 'none' : outputText(value)),
        ]);
        const word = result.good ? 'done' : result.word ?? 'refused';
        this.output.replaceChildren(make('p', { class: result.good ? 'good' : 'trouble' }, `${result.good ? '✓' : '✕'} ${word}`),
            ...(rows.length ? [make('dl', { class: 'outputs' }, ...rows)] : []));
    }
}

function callText(call) {
    const outputs = call.outputs ? ` ${call.outputs}` : '';
    return `${call.number} ${call.call} ${call.arguments} → ${call.result}${outputs}${call.fault ? ', a fault' : ''}${call.refused ? ', refused' : ''}`;
}

class LiveList {
    constructor(title, key, text) {
        this.key = key;
        this.text = text;
        this.list = make('ol', { class: 'live', tabindex: '0', 'aria-label': title });
        this.empty = make('p', { class: 'note' }, 'Nothing yet.');
        this.element = make('section', { class: 'panel' }, make('h2', {}, title), this.empty, this.list);
        this.count = 0;
        this.last = null;
    }

    // New items are put behind those that are there; the list stays where it was scrolled to, or at its end.
    show() {
        const items = lists[this.key] ?? [];
        const from = this.last === null ? 0 : items.indexOf(this.last) + 1;
        if (items.length === 0 || from === items.length) {
            return;
        }
        const atEnd = this.list.scrollTop + this.list.clientHeight >= this.list.scrollHeight - 8;
        this.list.append(...items.slice(from).map((item) => make('li', { class: item.gap ? 'note' : null }, item.gap ? '… left out …' : this.text(item))));
        while (this.list.children.length > kKeptItems) {
            this.list.firstChild.remove();
        }
        this.last = items[items.length - 1];
        this.empty.hidden = true;
        if (atEnd) {
            this.list.scrollTop = this.list.scrollHeight;
        }
    }
}

pages.set = {
    title: 'Set',
    open(root, [name]) {
        this.root = root;
        this.name = name ?? null;
        this.built = null;
        root.append(make('h1', { class: 'hidden' }, 'Set'));
        if (name) {
            follow(name);
        }
    },
    async build() {
        this.built = this.name;
        follow(this.name);
        this.image = make('img', { class: 'panel-picture', alt: 'The panel of the set', width: '960', height: '540' });
        this.where = make('p', { class: 'note', role: 'status' });
        this.question = new QuestionBox(this.name);
        this.live = [
            new LiveList('Events', `${this.name}/events`, (item) => item.said),
            new LiveList('Journal', `${this.name}/journal`, callText),
            new LiveList('Log', `${this.name}/log`, (item) => String(item).replace(/\x1b\[[0-9;]*m/g, '')),
        ];
        const panels = make('div', { class: 'panels' });
        const choice = sets().length > 1 ? setChoice(this.name, (chosen) => { location.hash = `#/set/${encodeURIComponent(chosen)}`; }) : '';
        this.root.replaceChildren(make('h1', {}, this.name), choice, this.where, this.question.element,
            make('div', { class: 'set' }, make('div', { class: 'screen' }, this.image, ...this.live.map(({ element }) => element)), panels));
        const described = await this.description();
        const rest = new Map((described?.actions ?? []).map((action) => [action.name, action]));
        const add = (title, actions, open) => panels.append(make('details', { class: 'panel', open },
            make('summary', {}, make('h2', {}, title)), ...actions.map((action) => new ActionForm(this.name, action, described.by[action.name]).element)));
        kPanels.forEach(([title, names], at) => {
            const actions = names.map((one) => rest.get(one)).filter(Boolean);
            names.forEach((one) => rest.delete(one));
            if (actions.length) {
                add(title, actions, at === 0);
            }
        });
        if (rest.size) {
            add('More', [...rest.values()], false);
        }
        if (described?.trouble) {
            panels.append(make('p', { class: 'trouble', role: 'alert' }, `The station's actions: ${described.trouble}`));
        }
        if (!panels.children.length) {
            panels.append(make('p', { class: 'note' }, 'This set has no actions of its own.'));
        }
        this.show();
    },
    async description() {
        for (let tries = 0; tries < 20; ++tries) {
            try {
                return await getJson('/api/description', { set: this.name });
            } catch {
                await new Promise((done) => setTimeout(done, 500));
            }
        }
        return null;
    },
    show() {
        this.name = this.name ?? sets()[0]?.name ?? null;
        if (!this.name) {
            return;
        }
        if (this.built !== this.name) {
            this.build();
            return;
        }
        const set = values[`set/${this.name}`];
        if (!set || !this.image) {
            return;
        }
        const source = pictureOf({ set: this.name, number: set.picture });
        if (set.picture && this.image.getAttribute('src') !== source) {
            this.image.src = source;
        }
        setText(this.where, !set.up ? set.trouble : set.claim?.name ? `${set.claim.name} (process ${set.claim.pid}) has the set: ${set.claim.reason}`
            : 'In reach; nobody has claimed it.');
        this.question.show(set.prompts?.[0]);
        this.live.forEach((list) => list.show());
    },
};
