// SPDX-License-Identifier: Apache-2.0
// usage: node page.mjs FOLDER FAPI: starts `fapi serve` with a set of its own and uses the page as people do, by keyboard alone;
// pictures and faults of each page; see scripts/look.
import { spawn, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import os from 'node:os';
import path from 'node:path';
import puppeteer from 'puppeteer-core';

const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const [folder, fapi] = process.argv.slice(2);
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'page-'));
const widths = { phone: 390, tablet: 768, desk: 1280 };
const kUnit = '<b>"unit"&</b>';
let faults = 0;

Object.assign(process.env, { VSET_DIR: `${work}/set`, XDG_STATE_HOME: `${work}/state`, XDG_RUNTIME_DIR: `${work}/run`, FAPI_PLANS: `${work}/plans` });
for (const name of ['run', 'plans']) {
    fs.mkdirSync(`${work}/${name}`, { mode: 0o700 });
}
const plan = (name, text) => fs.writeFileSync(`${work}/plans/${name}.plan`, text);
plan('quick', `plan "Quick <i>plan</i>"
param serial "Serial number"
unit serial \${serial}
step "Bring the set up"
    sys_init
    prphrl_init
step "5 V rail"
    set voltage 3 131
    prphrl_get_sar_adc 3
    measure "5 V <rail>" = status scale 0.0384 V in 4.75..5.25
step "LED"
    choose "Which color has the <b>LED</b>?" red green with picture panel beside panel.png
    expect answer is green
`);
plan('short', 'plan Short\nparam serial "Serial number"\nunit serial ${serial}\nstep one\n    wait 1s\n');
plan('failing', `plan Failing
param serial "Serial number"
unit serial \${serial}
step "5 V rail"
    sys_init
    prphrl_init
    set voltage 3 90
    prphrl_get_sar_adc 3
    measure "5 V <rail>" = status scale 0.0384 V in 4.75..5.25
`);
plan('waits', `plan "Waits for a key"
step "A key"
    sys_init
    prphrl_init
    prphrl_keypad_init
    prphrl_start_keypad
    expect event 0x100002 of prphrl within 40s
`);
plan('draws', `plan "Draws on the canvas"
step "Draw"
    sys_init
    disp_init
    disptst_init
    set freeze-video 0
    disptst_gen_gop_test_pattern_on 1280 720
    disptst_gen_gop_test_pattern_draw_rect 0 0 1280 720 #C00000
    disptst_gen_gop_test_pattern_show
    wait 8s
`);
plan('broken', 'plan Broken\nstep one\n    sys_no_such_operation <b>\n');

function complain(where, what) {
    ++faults;
    console.log(`${where}: ${what}`);
}

const patience = Number(process.env.FAPI_TEST_PATIENCE ?? 1);
async function until(what, condition, limit = 30000) {
    for (const end = Date.now() + limit * patience; Date.now() < end;) {
        const found = await condition();
        if (found) {
            return found;
        }
        await new Promise((done) => setTimeout(done, 50));
    }
    throw new Error(`waited in vain: ${what}`);
}

// --- The server ---

let server = null;
const servers = [];
async function serve(port = 0, words = []) {
    server = spawn(fapi, [...words, 'serve', '--listen', `127.0.0.1:${port}`, '--report', `${work}/reports`], { cwd: work });
    servers.push(server);
    let text = '';
    server.stdout.on('data', (piece) => { text += piece; });
    server.stderr.on('data', (piece) => process.stderr.write(piece));
    await until('the address', () => text.includes('\n'));
    return new URL(text.split('\n')[0]);
}

// --- A person with a keyboard ---

const focused = (page) => page.evaluate(() => {
    const element = document.activeElement;
    const style = getComputedStyle(element);
    return { text: element.getAttribute('aria-label') ?? element.labels?.[0]?.textContent ?? element.textContent, outline: style.outlineStyle !== 'none' };
});

// Presses Tab until the element with that name has the focus, which must be seen.
async function tabTo(page, name) {
    for (let i = 0; i < 250; ++i) {
        const at = await focused(page);
        if (at.text.trim() === name) {
            if (!at.outline) {
                complain(name, 'the focus is not seen');
            }
            return;
        }
        await page.keyboard.press('Tab');
    }
    throw new Error(`Tab does not lead to ${name}`);
}

async function go(page, name) {
    await page.evaluate(() => document.activeElement.blur());
    await tabTo(page, name);
    await page.keyboard.press('Enter');
    await until(`the page ${name}`, () => page.$eval('nav a[aria-current]', (link, wanted) => link.textContent === wanted, name).catch(() => false));
}

// How far what is seen has moved by itself: what browsers count as layout shift, with 0.1 as the most that is called good. A question
// makes room for itself, so what is below the slots may move.
const kMostShift = 0.1;
const watchShifts = (page) => page.evaluateOnNewDocument(() => {
    window.shifts = [];
    new PerformanceObserver((list) => list.getEntries().filter((entry) => !entry.hadRecentInput).forEach(({ value, sources }) => {
        const moved = sources.map(({ node }) => node?.closest?.('.below, .stop') ? '' : node?.className || node?.nodeName).filter(Boolean);
        window.shifts.push({ value: moved.length ? value : 0, moved: moved.join(' ') });
    })).observe({ type: 'layout-shift', buffered: true });
});
async function checkShifts(page, where) {
    const shifts = await page.evaluate(() => window.shifts.splice(0));
    const sum = shifts.reduce((all, { value }) => all + value, 0);
    if (sum > kMostShift) {
        complain(where, `what is seen moves by itself: ${sum.toFixed(3)}, ${JSON.stringify(shifts)}`);
    }
}

const word = (page) => page.$eval('.slot .word', (element) => element.textContent);

// A scanner's keys come at once, wherever the focus is.
async function scan(page, code) {
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.type(code);
}

async function runPlan(page, name, serial) {
    await tabTo(page, 'Plan');
    await page.select('.slot select', name);
    await until('the plan', () => page.$('.start button:not([disabled])'));
    if (serial) {
        await until('the unit\'s field', () => page.$('input.scan'));
        await scan(page, serial);
    } else {
        await until('a plan without a unit', async () => (await page.$('input.scan')) === null);
        await tabTo(page, 'Others may act on the set meanwhile');
        if (!(await page.$('.check input:checked'))) {
            await page.keyboard.press('Space');
        }
        await page.evaluate(() => document.activeElement.blur());
        await tabTo(page, 'Start');
    }
    await page.keyboard.press('Enter');
}

// --- What is checked ---

async function usePage(page, address) {
    await page.goto(address.href);
    await until('the set', async () => (await page.$('.slot')) && (await word(page)) === 'READY');
    if (page.url().includes(address.hash.slice(1)) || (await page.evaluate(() => document.cookie)) !== '') {
        complain('sign-in', 'the token or the cookie is in reach of scripts');
    }
    await runPlan(page, 'quick', kUnit);
    await until('the question', () => page.$('.question button'));
    await snapshots(page, 'question', '.question button');
    await scan(page, 'LM-1122');
    await new Promise((done) => setTimeout(done, 500));
    if (!(await page.$('.question button'))) {
        complain('question', 'a digit of the scanner has answered it');
    }
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press('2');
    await until('PASS', async () => (await word(page)) === 'PASS');
    if (await page.$('.question button')) {
        complain('question', 'it is still there');
    }
    await until('the unit in the list', () => page.$eval('.rows', (list) => list.textContent.includes('<b>"unit"')).catch(() => false));
    await snapshots(page, 'line', '.slot.v-passed');
    await runPlan(page, 'failing', 'LM-2');
    await until('FAIL', async () => (await word(page)) === 'FAIL');
    await snapshots(page, 'fail', '.slot.v-failed');
    await runPlan(page, 'waits', '');
    await until('RUNNING', async () => (await word(page)) === 'RUNNING');
    await tabTo(page, 'Stop');
    await page.keyboard.press('Enter');
    await until('the end', async () => (await word(page)) === 'INTERRUPTED');
}

// Each slot has its own unit, question and verdict; a digit answers where the focus is.
async function useSlots(browser) {
    const names = ['A', 'B', 'C', 'D'];
    fs.writeFileSync(`${work}/station.ini`, names.map((name) => `[target ${name}]\nset = ${work}/set-${name}\n`).join(''));
    names.forEach((name) => spawnSync(fapi, ['--set', `${work}/set-${name}`, 'set', 'create'], { stdio: 'ignore' }));
    const one = server;
    const address = await serve(0, ['--station', `${work}/station.ini`]);
    const page = await browser.newPage();
    await watchShifts(page);
    await page.setViewport({ width: widths.desk, height: 900 });
    await page.goto(address.href);
    const words = () => page.$$eval('.slot .word', (all) => all.map((element) => element.textContent).join());
    const at = (name) => `.slot[aria-label="${name}"]`;
    await until('four slots', async () => (await words()) === 'READY,READY,READY,READY');
    for (const name of names) {
        await page.select(`${at(name)} select`, name === 'C' ? 'failing' : 'quick');
        await until('the plan', () => page.$(`${at(name)} .start button:not([disabled])`));
        await page.focus(`${at(name)} input.scan`);
        await page.keyboard.type(`LM-${name}`);
        await page.keyboard.press('Enter');
    }
    await until('the questions', async () => (await page.$$('.question button')).length === 6 && (await words()) === 'RUNNING,RUNNING,FAIL,RUNNING');
    await snapshots(page, 'slots', '.question button');
    for (const name of ['D', 'B', 'A']) {
        await page.focus(`${at(name)} .question button`);
        await page.keyboard.press(name === 'B' ? '1' : '2');
        await until(`the end at ${name}`, async () => !(await page.$(`${at(name)} .question button`)));
        await new Promise((done) => setTimeout(done, 200));
    }
    await until('the verdicts', async () => (await words()) === 'PASS,FAIL,FAIL,PASS');
    await page.close();
    server.kill();
    server = one;
}

async function useSet(page) {
    await go(page, 'Line');
    await until('the form', () => page.$('.slot select'));
    await runPlan(page, 'waits', '');
    await until('RUNNING', async () => (await word(page)) === 'RUNNING');
    await go(page, 'Set');
    await until('the keys', () => page.$('button.value'));
    const pressed = Date.now();
    while ((await page.evaluate(() => fetch('/api/runs').then((answer) => answer.json()))).find((run) => run.plan.startsWith('Waits'))?.verdict !== 'passed') {
        if (Date.now() - pressed > 45000) {
            throw new Error('the plan has not had the key');
        }
        await tabTo(page, 'key 1');
        await page.keyboard.press('Enter');
        await new Promise((done) => setTimeout(done, 500));
    }
    await until('a picture', () => page.$eval('.panel-picture', (image) => image.naturalWidth > 0));
    const before = await page.$eval('.panel-picture', (image) => image.src);
    const run = spawn(fapi, ['run', 'draws', '--report', `${work}/reports`], { cwd: work, stdio: 'ignore' });
    const isRed = () => page.$eval('.panel-picture', (image) => {
        const canvas = document.createElement('canvas');
        canvas.width = canvas.height = 8;
        const context = canvas.getContext('2d');
        context.drawImage(image, 0, 0, 8, 8);
        const [red, green, blue] = context.getImageData(4, 4, 1, 1).data;
        return red > 150 && green < 60 && blue < 60;
    });
    await until('the canvas in the picture', isRed);
    if (before === await page.$eval('.panel-picture', (image) => image.src)) {
        complain('set', 'the picture is the one that it was');
    }
    await until('events', () => page.$eval('.live', (list) => list.children.length > 0));
    run.kill('SIGINT');
}

async function snapshots(page, name, wanted) {
    await checkShifts(page, name);
    for (const [device, width] of Object.entries(widths)) {
        for (const scheme of ['light', 'dark']) {
            await page.setViewport({ width, height: 900 });
            await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }, { name: 'prefers-reduced-motion', value: 'reduce' }]);
            await until(`${name} at ${width}`, () => page.$(wanted));
            const where = `page-${name}-${device}-${scheme}`;
            await page.screenshot({ path: path.join(folder, `${where}.png`) });
            if (await page.evaluate(() => document.documentElement.scrollWidth > document.documentElement.clientWidth)) {
                complain(where, 'runs out of the page');
            }
            const { violations } = await page.evaluate(`${axe}; axe.run()`);
            for (const { id, help, nodes } of violations) {
                complain(where, `${id}: ${help}; ${nodes.length} times, first ${nodes[0].target.join(' ')}: ${nodes[0].failureSummary}`);
            }
        }
    }
    await page.setViewport({ width: widths.desk, height: 900 });
    await page.evaluate(() => window.shifts.splice(0));
    if (await page.$('main b, main i')) {
        complain(name, 'what a unit or plan is called has become markup');
    }
}

async function lookAtAll(page) {
    const rows = [['Set', 'set', '.action'], ['Units', 'units', '.rows'], ['Statistics', 'statistics', '.statistics'], ['Plans', 'plans', 'ol.text']];
    for (const [title, name, wanted] of rows) {
        await go(page, title);
        await until(title, () => page.$(wanted));
        await snapshots(page, name, wanted);
    }
    await page.evaluate(() => { location.hash = '#/plans/broken'; });
    await until('the problem at its line', () => page.$eval('ol.text .problem', (note) => note.textContent.includes('sys_no_such_operation')).catch(() => false));
    await go(page, 'Units');
    await until('a run', () => page.$('.rows a'));
    await tabTo(page, '1');
    await page.keyboard.press('Enter');
    await until('its measurements', () => page.$eval('main', (main) => main.textContent.includes('5 V <rail>')));
    await snapshots(page, 'run', '.facts');
}

// Each observer gets the end of a run, and the page loses its server and finds it again.
async function observe(page, address, port) {
    const cookie = (await page.cookies()).map(({ name, value }) => `${name}=${value}`).join('; ');
    const observers = await Promise.all(Array.from({ length: 20 }, async () => {
        const response = await fetch(`${address.origin}/api/changes`, { headers: { cookie } });
        return response.body.getReader();
    }));
    await go(page, 'Line');
    await runPlan(page, 'short', 'LM-20');
    await Promise.all(observers.map(async (reader) => {
        let text = '';
        while (!/"state":"ended"[^}]*"unit":"LM-20"/.test(text)) {
            const { value, done } = await reader.read();
            if (done) {
                throw new Error('an observer was cut off');
            }
            text += Buffer.from(value).toString();
        }
        await reader.cancel();
    }));
    server.kill('SIGKILL');
    await until('the word that the connection is lost', () => page.$eval('#connection', (element) => element.dataset.state === 'lost'), 3000);
    await serve(port);
    await until('the connection', () => page.$eval('#connection', (element) => element.dataset.state === 'good'), 10000);
}

// Against the server's shortest answer, as the same browser shows it.
async function firstPaint(page, address) {
    const paint = async (url) => {
        const times = [];
        for (let i = 0; i < 7; ++i) {
            await page.goto(url);
            times.push(await until('paint', () => page.evaluate(() => performance.getEntriesByType('paint').find((entry) => entry.name === 'first-paint')?.startTime)));
        }
        return times.sort((left, right) => left - right)[3];
    };
    const empty = await paint(`${address.origin}/nothing`), whole = await paint(`${address.origin}/`);
    console.log(`first paint: ${whole.toFixed(0)} ms, of an empty page ${empty.toFixed(0)} ms`);
    if (whole > 3 * empty) {
        complain('first paint', 'it takes more than three times as long as an empty page');
    }
}

spawnSync(fapi, ['set', 'create'], { stdio: 'ignore' });
spawnSync(fapi, ['screen', `${work}/plans/panel.png`], { stdio: 'ignore' });
const address = await serve();
const browser = await puppeteer.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking', '--disable-component-update', '--disable-sync'],
});
try {
    const page = await browser.newPage();
    page.on('pageerror', (error) => complain('script', error.message));
    page.on('request', (request) => {
        if (!request.url().startsWith(address.origin) && !request.url().startsWith('data:')) {
            complain('request', request.url());
        }
    });
    await page.setViewport({ width: widths.desk, height: 900 });
    await watchShifts(page);
    for (const part of [usePage, useSet, lookAtAll]) {
        await part(page, address);
    }
    await useSlots(browser);
    await observe(page, address, address.port);
    await firstPaint(page, address);
} catch (error) {
    complain('page', error.stack);
    for (const page of await browser.pages()) {
        await page.bringToFront();
        await page.screenshot({ path: path.join(folder, 'page-fault.png') }).catch(() => {});
    }
} finally {
    await browser.close();
    await Promise.all(servers.map((one) => new Promise((done) => {
        one.exitCode === null && one.signalCode === null ? one.once('exit', done) : done();
        one.kill();
    })));
    fs.rmSync(work, { recursive: true, force: true });
}
console.log(faults === 0 ? `the page: nothing to mend; pictures are in ${folder}` : `the page: ${faults} faults; pictures are in ${folder}`);
process.exitCode = faults === 0 ? 0 : 1;
