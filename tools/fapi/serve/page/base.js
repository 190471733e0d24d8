// SPDX-License-Identifier: Apache-2.0
// What all pages of the station share: elements, requests, the stream of changes, and which page is shown.
'use strict';

// --- Elements: what is put in is text and nothing else ---

// make('p', { class: 'note', onclick: f }, 'text', element, ...)
function make(tag, attributes = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith('on')) {
            element.addEventListener(name.slice(2), value);
        } else if (value === true) {
            element.setAttribute(name, '');
        } else if (value !== false && value !== null && value !== undefined) {
            element.setAttribute(name, value);
        }
    }
    element.append(...children.filter((child) => child !== null && child !== undefined));
    return element;
}

let lastId = 0;
const newId = () => `e${++lastId}`;

// A label above its field; `hint` beside the label says what the field takes.
function labeled(text, field, hint = '') {
    field.id = field.id || newId();
    const above = [make('label', { for: field.id }, text)];
    if (hint) {
        const note = make('small', { id: newId() }, hint);
        field.setAttribute('aria-describedby', note.id);
        above.push(' ', note);
    }
    return make('div', { class: 'field' }, make('div', {}, ...above), field);
}

function option(value, text = value) {
    return make('option', { value }, text);
}

// Changes the text only where it is another one, so that nothing that is read aloud is read twice.
function setText(element, text) {
    if (element.textContent !== text) {
        element.textContent = text;
    }
}

function table(titles, rows, caption) {
    const head = make('tr', {}, ...titles.map((title) => make('th', { scope: 'col' }, title)));
    const body = rows.map((cells) => make('tr', {}, ...cells.map((cell, at) =>
        cell instanceof Node && cell.nodeName === 'TD' ? cell : make('td', { 'data-label': titles[at] }, cell))));
    return make('div', { class: 'wide', role: 'region', 'aria-label': caption, tabindex: '0' },
        make('table', { class: 'list rows' }, make('caption', { class: 'hidden' }, caption), make('thead', {}, head),
            make('tbody', {}, ...body)));
}

// --- Verdicts: word, color and shape ---

const kShapes = {
    passed: '✓', marginal: '≈', failed: '✕', error: '!', interrupted: '–', died: '!', running: '▶', waived: '✓', 'not run': '–',
};
const kWords = {
    passed: 'PASS', marginal: 'MARGINAL', failed: 'FAIL', error: 'STATION ERROR', interrupted: 'INTERRUPTED', died: 'RUN DIED',
    running: 'RUNNING', waived: 'WAIVED', idle: 'READY', lost: 'OUT OF REACH',
};
const verdictClass = (verdict) => `v-${verdict.replace(' ', '-')}`;
const badge = (verdict) => make('span', { class: `badge ${verdictClass(verdict)}` }, `${kShapes[verdict] ?? ''} ${verdict}`);

function duration(seconds) {
    return seconds < 60 ? `${seconds.toFixed(1)} s` : `${Math.floor(seconds / 60)} min ${Math.round(seconds % 60)} s`;
}

// --- Requests ---

async function request(path, init) {
    const response = await fetch(path, init);
    if (response.status === 401) {
        showSignIn();
    }
    if (!response.ok) {
        let text = `${response.status} ${response.statusText}`;
        try {
            text = (await response.json()).error;
        } catch {
            // It was no JSON.
        }
        throw new Error(text);
    }
    return response;
}

const get = async (path, query = {}) => {
    const given = Object.entries(query).filter(([, value]) => value !== '' && value !== undefined);
    return request(given.length ? `${path}?${new URLSearchParams(given)}` : path);
};
const getJson = async (path, query) => (await get(path, query)).json();
const post = async (path, body) => (await request(path, {
    method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body),
})).json();

function showSignIn() {
    document.getElementById('content').replaceChildren(make('h1', {}, 'Sign in'),
        make('p', {}, 'This browser is not signed in. Open the address that "fapi serve" has printed at its start.'));
    setConnection('lost', 'not signed in');
}

// --- The stream of changes ---

const values = {};  // by name: "set/NAME", "recent"
const lists = {};   // by name: "NAME/events"
const kKeptItems = 300;
const state = { role: 'guest', topic: '', seen: '', source: null, heard: 0 };

function setConnection(word, text) {
    const connection = document.getElementById('connection');
    connection.dataset.state = word;
    setText(connection, text);
}

function take(message) {
    state.seen = message.lastEventId;
    state.heard = Date.now();
    setConnection('good', 'connected');
    const told = JSON.parse(message.data);
    if (told.whole) {
        Object.keys(values).forEach((key) => delete values[key]);
        Object.keys(lists).forEach((key) => delete lists[key]);
    }
    Object.assign(values, told.values);
    for (const [key, { items, left_out: leftOut }] of Object.entries(told.lists)) {
        const list = lists[key] ?? (lists[key] = []);
        list.push(...(leftOut ? [{ gap: true }] : []), ...items);
        list.splice(0, list.length - kKeptItems);
    }
    show();
}

function listen() {
    state.source?.close();
    state.source = null;
    if (document.hidden) {
        // A hidden page needs nothing, and gets all that it has missed when it is seen again.
        return;
    }
    const source = new EventSource(`/api/changes?${new URLSearchParams({ since: state.seen, set: state.topic })}`);
    state.source = source;
    state.heard = Date.now();
    source.onmessage = take;
    source.onopen = () => setConnection('good', 'connected');
    source.onerror = () => {
        setConnection('lost', 'connection lost, trying again');
        source.close();
        setTimeout(() => state.source === source && listen(), 1000);
    };
}

// Which set's lists the page shows; none for an empty name.
function follow(topic) {
    if (state.topic !== topic) {
        state.topic = topic;
        state.seen = '';
        listen();
    }
}

// --- Pages ---

const pages = {};  // by name: { title, open(element, words), show() }
let current = null;

function show() {
    document.title = values.station?.name ? `${values.station.name}: ${current?.title ?? ''}` : current?.title ?? 'Station';
    setText(document.getElementById('station'), values.station?.name || 'Station');
    showAsked();
    current?.show?.();
}

// A question is seen from all pages.
function showAsked() {
    const asking = sets().filter((set) => set.prompts?.length).map((set) => set.name);
    const link = document.getElementById('asked');
    link.hidden = asking.length === 0 || current === pages.line;
    setText(link, asking.length ? `A question waits: ${asking.join(', ')}` : '');
}

function openPage() {
    const [name, ...words] = location.hash.replace(/^#\/?/, '').split('/').map(decodeURIComponent);
    const page = pages[name] ?? pages.line;
    for (const link of document.querySelectorAll('nav a')) {
        const isHere = pages[link.hash.slice(2)] === page;
        isHere ? link.setAttribute('aria-current', 'page') : link.removeAttribute('aria-current');
    }
    const content = document.getElementById('content');
    const root = make('div', {});
    content.replaceChildren(root);
    current = page;
    page.open(root, words);
    show();
}

const sets = () => Object.entries(values).filter(([key]) => key.startsWith('set/')).map(([, set]) => set);
const mayChange = () => state.role === 'person';

// A set to choose, where there is more than one.
function setChoice(chosen, use) {
    const select = make('select', { onchange: () => use(select.value) }, ...sets().map((set) => option(set.name)));
    select.value = chosen;
    return labeled('Set', select);
}

const remembered = (key, otherwise = '') => localStorage.getItem(key) ?? otherwise;
const remember = (key, value) => localStorage.setItem(key, value);

// Tells what went wrong, at the place where somebody has pressed something.
async function attempt(place, work) {
    place.replaceChildren();
    try {
        await work();
    } catch (error) {
        place.replaceChildren(make('p', { class: 'trouble', role: 'alert' }, error.message));
    }
}
