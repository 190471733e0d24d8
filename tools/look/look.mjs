// SPDX-License-Identifier: Apache-2.0
// usage: node look.mjs FOLDER PAGE...: pictures, PDFs and faults of the pages; see scripts/look.
import fs from 'node:fs';
import path from 'node:path';
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';
import puppeteer from 'puppeteer-core';

const axe = createRequire(import.meta.url).resolve('axe-core/axe.min.js');
const [folder, ...files] = process.argv.slice(2);
const widths = { phone: 390, tablet: 768, desk: 1280 };
const papers = { a4: { format: 'A4', width: 718 }, letter: { format: 'Letter', width: 740 } };
const margin = '10mm';
const kSheets = 4;
const maxHeight = 16000;  // of a picture; Chromium's limit is a little above
let faults = 0;

function complain(where, what) {
    ++faults;
    console.log(`${where}: ${what}`);
}

// What is wider than the page: the elements that stick out and whose parents do not.
async function checkWidth(page, where) {
    const wide = await page.evaluate(() => {
        const limit = document.documentElement.clientWidth;
        if (document.documentElement.scrollWidth <= limit) {
            return [];
        }
        const isOut = (element) => element !== null && element.getBoundingClientRect().right > limit + 0.5;
        return [...document.body.querySelectorAll('*')]
            .filter((element) => isOut(element) && ![...element.children].some(isOut))
            .map((element) => `${element.tagName.toLowerCase()}.${element.className}: ${element.textContent.slice(0, 60)}`);
    });
    for (const element of wide) {
        complain(where, `runs out of the page: ${element}`);
    }
}

async function checkAccess(page, where) {
    await page.addScriptTag({ path: axe });
    const { violations } = await page.evaluate(() => globalThis.axe.run());
    for (const { id, help, nodes } of violations) {
        complain(where, `${id}: ${help}; ${nodes.length} times, first ${nodes[0].target.join(' ')}: ${nodes[0].failureSummary}`);
    }
}

async function open(browser, file, width, scheme) {
    const page = await browser.newPage();
    page.on('request', (request) => {
        if (!/^(file|data):/.test(request.url())) {
            complain(file, `fetches ${request.url()}`);
        }
    });
    await page.setViewport({ width, height: 900 });
    await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
    await page.goto(pathToFileURL(file).href);
    return page;
}

const openAll = (page) => page.evaluate(() => document.querySelectorAll('details').forEach((box) => { box.open = true; }));

async function lookOnScreen(browser, file, name, device, scheme) {
    const where = `${name}-${device}-${scheme}`;
    const page = await open(browser, file, widths[device], scheme);
    const height = await page.evaluate(() => document.documentElement.scrollHeight);
    await page.setViewport({ width: widths[device], height: Math.min(height, maxHeight) });
    await page.screenshot({ path: path.join(folder, `${where}.png`) });
    await checkWidth(page, where);
    await openAll(page);
    await checkWidth(page, `${where}, all open`);
    await checkAccess(page, where);
    await page.close();
}

async function lookOnPaper(browser, file, name, paper) {
    const where = `${name}-${paper}`;
    const page = await open(browser, file, papers[paper].width, 'light');
    await page.emulateMediaType('print');
    await checkWidth(page, where);
    const pdf = path.join(folder, `${where}.pdf`);
    const margins = { top: margin, bottom: margin, left: margin, right: margin };
    await page.pdf({ path: pdf, format: papers[paper].format, margin: margins });
    const sheets = fs.readFileSync(pdf, 'latin1').match(/\/Type ?\/Page\b/g).length;
    console.log(`${where}.pdf: ${sheets} sheets`);
    if (paper === 'a4' && sheets > kSheets && await page.$('header.v-passed')) {
        complain(where, `a unit that passed needs more than ${kSheets} sheets of A4`);
    }
    await page.close();
}

// The browser's profile is a new one each time.
const browser = await puppeteer.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
           '--disable-component-update', '--disable-sync'],
});
try {
    for (const file of files) {
        const name = path.basename(file, '.html');
        for (const device of Object.keys(widths)) {
            for (const scheme of ['light', 'dark']) {
                await lookOnScreen(browser, path.resolve(file), name, device, scheme);
            }
        }
        for (const paper of Object.keys(papers)) {
            await lookOnPaper(browser, path.resolve(file), name, paper);
        }
    }
} finally {
    await browser.close();
}
console.log(faults === 0 ? `${files.length} pages: nothing to mend; pictures are in ${folder}` : `${faults} faults; pictures are in ${folder}`);
process.exitCode = faults === 0 ? 0 : 1;
