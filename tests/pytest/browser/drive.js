// Opens a page in a browser, does what the steps say, and prints what came of it:
//
//   node drive.js NODE_MODULES <job.json
//
// The job is an object with the file ("page"), the colour scheme ("scheme": "light" or
// "dark"), perhaps the size of the window ("width", "height"), and the "steps". A step is
// an array:
//
//   ["value", EXPRESSION]           the expression's value in the page
//   ["key", KEY...]                 presses the keys
//   ["click", SELECTOR], ["focus", SELECTOR], ["type", SELECTOR, TEXT]
//   ["hover", SELECTOR, X]          moves the pointer there; X is a part of the width
//   ["drag", SELECTOR, X, Y]        drags from part X of the width to part Y
//   ["window", WIDTH]               makes the window so wide
//   ["paper", WIDTH]                makes the window a paper of this width, with the styles
//                                   for printers, as if the page were printed
//   ["axe"]                         what axe-core finds, and the rules of which it cannot
//                                   decide whether they are kept
//   ["print"]                       prints the page; the size of the PDF
//   ["work"]                        the processor time of the page so far, in milliseconds
//   ["picture", FILE]               takes a picture of the window
//
// Prints an object: "results" of the steps that have one, in their order, "requests"
// for anything but the page, and "errors" of its scripts.

'use strict';

const fs = require('fs');
const path = require('path');

const [modules] = process.argv.slice(2);
const puppeteer = require(path.join(modules, 'puppeteer-core'));
const axe = path.join(modules, 'axe-core/axe.min.js');
const job = JSON.parse(fs.readFileSync(0, 'utf8'));

async function place(page, selector, share) {
    const box = await (await page.$(selector)).boundingBox();
    return [box.x + share * box.width, box.y + box.height / 2];
}

async function drag(page, selector, from, to) {
    await page.mouse.move(...await place(page, selector, from));
    await page.mouse.down();
    await page.mouse.move(...await place(page, selector, (from + to) / 2));
    await page.mouse.move(...await place(page, selector, to));
    await page.mouse.up();
}

// The page's policy would refuse the checker's script, so the browser evaluates its text.
async function check(page) {
    await page.evaluate(fs.readFileSync(axe, 'utf8'));
    const { violations, incomplete } = await page.evaluate('axe.run()');
    const words = (it) => `${it.id}: ${it.nodes[0].html} ${it.nodes[0].failureSummary}`;
    return [violations.map(words), incomplete.map((it) => it.id)];
}

async function layOnPaper(page, width) {
    await page.evaluate("window.dispatchEvent(new Event('beforeprint'))");
    await page.emulateMediaType('print');
    await page.setViewport({ width, height: 900 });
}

const STEPS = {
    value: (page, expression) => page.evaluate(expression),
    key: async (page, ...keys) => {
        for (const key of keys) { await page.keyboard.press(key); }
    },
    click: (page, selector) => page.click(selector),
    focus: (page, selector) => page.focus(selector),
    type: (page, selector, text) => page.type(selector, text),
    hover: async (page, selector, share) => {
        await page.mouse.move(...await place(page, selector, share));
    },
    drag,
    window: (page, width) => page.setViewport({ width, height: 900 }),
    paper: layOnPaper,
    axe: check,
    print: async (page) => (await page.pdf({ format: 'A4', landscape: true })).length,
    work: async (page) => {
        const { metrics } = await page.client.send('Performance.getMetrics');
        return 1000 * metrics.find((it) => it.name === 'TaskDuration').value;
    },
    picture: async (page, file) => { await page.screenshot({ path: file }); },
};

async function drive(page) {
    const requests = [];
    const errors = [];
    const url = `file://${job.page}`;
    page.on('request', (request) => { if (request.url() !== url) requests.push(request.url()); });
    page.on('pageerror', (error) => errors.push(error.message));
    page.on('console', (message) => errors.push(message.text()));
    page.on('dialog', (dialog) => { errors.push('a dialog'); dialog.dismiss(); });
    await page.setViewport({ width: job.width || 1280, height: job.height || 900 });
    await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: job.scheme }]);
    page.client = await page.createCDPSession();
    await page.client.send('Performance.enable', { timeDomain: 'threadTicks' });
    await page.goto(url);
    await page.waitForFunction('document.documentElement.dataset.drawn');
    const results = [];
    for (const [step, ...words] of job.steps) {
        const result = await STEPS[step](page, ...words);
        if (result !== undefined) { results.push(result); }
    }
    return { results, requests, errors };
}

async function main() {
    const browser = await puppeteer.launch({
        executablePath: '/usr/bin/chromium',
        // Root may not use the sandbox. A container's /dev/shm is small.
        args: ['--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage'],
    });
    try {
        const [page] = await browser.pages();
        console.log(JSON.stringify(await drive(page)));
    } finally {
        await browser.close();
    }
}

main().catch((error) => {
    console.error(error);
    process.exit(1);
});
