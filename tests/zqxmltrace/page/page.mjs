// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Drives the page of a ladder in a browser, as a person would with mouse and keyboard, and has Mermaid read the diagram.
// Usage: node page.mjs CHROMIUM PAGE DIAGRAM LARGE_PAGE PICTURES
// PAGE and DIAGRAM are of the kept trace, LARGE_PAGE of a trace of 100,000 events. Leaves pictures in the folder PICTURES.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { dirname, resolve } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';

const [executablePath, pageFile, diagramFile, largeFile, pictures] = process.argv.slice(2);
const here = dirname(fileURLToPath(import.meta.url));
const browser = await chromium.launch({
  executablePath,
  args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync'],
});
const complaints = [];

async function open(file, options) {
  const page = await browser.newPage(options);
  page.on('console', message => { if (message.type() === 'error') complaints.push(message.text()); });
  page.on('pageerror', error => complaints.push(String(error)));
  page.on('request', request => { if (!/^(file|data):/.test(request.url())) complaints.push(request.url()); });
  await page.goto(pathToFileURL(resolve(file)).href);
  return page;
}
const count = page => page.locator('#count').textContent();
const picked = page => page.locator('.row.picked').getAttribute('aria-label');

const page = await open(pageFile, { viewport: { width: 1280, height: 800 } });
assert.equal(await count(page), '7 of 7');
assert.equal(await page.locator('.row').count(), 7);

// The keyboard chooses, opens, closes and searches.
await page.keyboard.press('ArrowDown');
assert.match(await picked(page), /^#1 action 2001/);
await page.keyboard.press('End');
assert.match(await picked(page), /^#7 msg, reply to #1/);
await page.keyboard.press('Enter');
assert.match(await page.locator('#detail').textContent(), /replies to#1, after 150 ms/);
assert.match(await page.locator('#detail pre').textContent(), /^<zqxml [^\n]*>\n {2}<header>\n {4}<src agent_id="2"/);
await page.screenshot({ path: `${pictures}/ladder-page.png` });
await page.keyboard.press('Escape');
assert.equal(await page.locator('#detail').isHidden(), true);
await page.keyboard.press('/');
await page.keyboard.type('hurry');
assert.equal(await count(page), '2 of 7');
await page.keyboard.press('Enter');
assert.match(await picked(page), /^#3 msg/);
await page.keyboard.press('/');
await page.keyboard.press('Escape');
assert.equal(await count(page), '7 of 7');

// Filters and clicks do, too.
await page.selectOption('#outcome', { label: 'undeliverable' });
assert.equal(await count(page), '1 of 7');
await page.locator('.row').first().click();
assert.match(await page.locator('#detail').textContent(), /nobody 77/);
await page.selectOption('#agent', { label: await page.locator('#agent option').nth(2).textContent() });
assert.equal(await count(page), '0 of 7');
assert.equal(await page.locator('#none').isVisible(), true);
await page.selectOption('#outcome', '');
await page.selectOption('#agent', '');
const before = (await page.locator('.row').first().boundingBox()).height;
await page.locator('#larger').click();
assert.ok((await page.locator('.row').first().boundingBox()).height > before);

// Each way to look at it, for a person to see.
for (const [name, width, height] of [['wide', 1280, 800], ['narrow', 390, 844]]) {
  for (const colorScheme of ['light', 'dark']) {
    const shown = await open(pageFile, { viewport: { width, height }, colorScheme });
    await shown.locator('.row').nth(3).click();
    await shown.screenshot({ path: `${pictures}/${name}-${colorScheme}.png` });
    await shown.close();
  }
}

// A long trace: only what is visible is in the document.
const started = Date.now();
const large = await open(largeFile, { viewport: { width: 1280, height: 800 } });
await large.locator('.row').first().waitFor();
console.log(`large page opened in ${Date.now() - started} ms`);
assert.ok(await large.locator('.row').count() < 100);
const slowest = await large.evaluate(async () => {
  const list = document.getElementById('list');
  let longest = 0;
  for (let i = 0; i < 60; ++i) {
    const frame = performance.now();
    list.scrollTop = list.scrollHeight * i / 60;
    await new Promise(resolve => requestAnimationFrame(() => requestAnimationFrame(resolve)));
    longest = Math.max(longest, performance.now() - frame);
  }
  return longest;
});
console.log(`slowest of 60 jumps ${slowest.toFixed(0)} ms`);
await large.keyboard.press('End');
assert.match(await picked(large), /^#33334 /);
assert.ok(await large.locator('.row').count() < 100);

// The diagram is one that Mermaid reads.
await page.goto('about:blank');
await page.addScriptTag({ path: `${here}/node_modules/mermaid/dist/mermaid.min.js` });
const read = await page.evaluate(text => globalThis.mermaid.parse(text), readFileSync(diagramFile, 'utf8'));
assert.equal(read.diagramType, 'sequence');

await browser.close();
assert.deepEqual(complaints, []);
console.log('1 passed, 0 failed');
