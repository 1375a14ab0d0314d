import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { PAGE, drop, openPage, rowsOf, screenshot, startBrowser, wide } from './browser.mjs';
import { folderOf, samplesOf } from './samples.mjs';

const SAMPLE = fs.readFileSync(path.join(folderOf('KV_VIEWER_SAMPLES'), '3f600000.log'));
const GOOD = fs.readFileSync(path.join(folderOf('KV_VIEWER_PROGRAM_LOGS'), 'p3f600000.log'));
const EIGHT = fs.readFileSync(path.join(folderOf('KV_VIEWER_PROGRAM_LOGS'), 'eight.log'));
const QUEUE = samplesOf('request-queue.md', '/collect?');
const PREFIX = '/collect?v=1&z=6093677622&de=UTF-8&tid=XX-1&an=Lumo&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&';
const LINE = 'Unicode: \u00e9\u4e2d';

let browser;
before(async () => (browser = await startBrowser()));
after(() => browser.close());

async function withPage(options, body) {
  const page = await openPage(browser, options);
  try {
    await body(page);
    assert.deepEqual(page.problems, []);
  } finally {
    await page.context().close();
  }
}

// Waits until the list has rows with text, and returns them.
async function rows(page, list) {
  await page.locator(`#${list} .row > *`).first().waitFor();
  return rowsOf(page, list);
}

async function lineCount(page, text) {
  await page.waitForFunction((wanted) => document.getElementById('line-count').textContent === wanted, text);
}

test('a good run: functions on the timeline, lines, no marks', () => withPage({}, async (page) => {
  await drop(page, { 'kvtrace.log': GOOD });
  const [first] = await rows(page, 'lines');
  assert.deepEqual([first[4], first[5].slice(0, 17)], ['(++)', 'Module File Name:']);
  assert.equal(await page.locator('#marks-heading').textContent(), 'Marks: none');
  assert.equal(await page.locator('#notes').isHidden(), true);
  assert.match(await page.locator('#legend').textContent(), /Utils.*program/);
  await screenshot(page, 'good-run');
}));

test('a run with errors: a click on a mark shows its line, its function and what it means', () => withPage({}, async (page) => {
  await drop(page, { 'errors.log': SAMPLE });
  await rows(page, 'lines');
  const marks = await rows(page, 'marks');
  assert.deepEqual(marks.map(([, mark]) => mark.slice(2)), ['warning', 'error', 'exception', 'error code', 'exception', 'exception']);
  await page.locator('#marks .row').nth(1).click();
  await page.locator('#detail', { hasText: 'errors: a whole operation failed' }).waitFor();
  assert.deepEqual(await page.locator('#detail ol button').allTextContents(), ['CInner::Write', 'COuter::Run']);
  assert.equal(await page.locator('#lines .row[aria-selected=true] > :last-child').textContent(), '    error');
  await screenshot(page, 'errors');
}));

test('a function on the timeline is found by a click', () => withPage({}, async (page) => {
  await drop(page, { 'errors.log': SAMPLE });
  await rows(page, 'lines');
  const box = await page.locator('#timeline .u-over').boundingBox();
  // The first lane: title, marks, then the outermost function, in the middle of the whole time.
  await page.mouse.click(box.x + box.width / 2, box.y + 20 + 15 + 6);
  await page.locator('#detail ol button', { hasText: 'COuter::Run' }).waitFor();
}));

test('eight processes in one file have eight lanes', () => withPage({}, async (page) => {
  await drop(page, { 'eight.log': EIGHT });
  await rows(page, 'lines');
  assert.equal(await page.locator('#filter-lane option').count(), 9);
  await screenshot(page, 'eight-processes');
}));

test('filters: search, tags, module, function and the visible time', () => withPage({}, async (page) => {
  await drop(page, { 'errors.log': SAMPLE });
  await lineCount(page, '32 lines');
  await page.fill('#filter-search', 'CAUGHT');
  await lineCount(page, '1 of 32 lines');
  await page.click('#filter-clear');
  await lineCount(page, '32 lines');
  await page.click('#tag-choice summary');
  await page.click('#filter-tags button:has-text("Problems")');
  await lineCount(page, '4 of 32 lines');
  await page.click('#filter-clear');
  await page.fill('#filter-function', 'cinner::write');
  await lineCount(page, '15 of 32 lines');
  await page.click('#filter-clear');
  await lineCount(page, '32 lines');
  await page.check('#filter-time');
  await lineCount(page, '32 lines');
  await page.focus('#timeline');
  for (let i = 0; i < 6; ++i) {
    await page.keyboard.press('+');
  }
  await page.waitForFunction(() => / of 32 lines$/.test(document.getElementById('line-count').textContent));
}));

test('the keyboard reaches marks, lines and tabs', () => withPage({}, async (page) => {
  await drop(page, { 'errors.log': SAMPLE, 'queue.txt': Buffer.from(QUEUE.join('\n') + '\n') });
  await rows(page, 'lines');
  await page.focus('#timeline');
  await page.keyboard.press('n');
  await page.locator('#detail pre', { hasText: 'warning: [1] {2} (3)' }).first().waitFor();
  await page.keyboard.press('n');
  await page.locator('#detail dd', { hasText: 'errors: a whole' }).waitFor();
  await page.focus('#lines .list');
  await page.keyboard.press('Home');
  await page.locator('#detail pre', { hasText: 'Module File Name' }).first().waitFor();
  await page.keyboard.press('End');
  await page.locator('#detail pre', { hasText: 'COuter::Run' }).first().waitFor();
  assert.match(await page.locator('#lines .list').getAttribute('aria-activedescendant'), /-31$/);
  await page.focus('#tab-trace');
  await page.keyboard.press('ArrowRight');
  assert.equal(await page.locator('#tab-hits').getAttribute('aria-selected'), 'true');
}));

test('a queue with a refused hit: the reason, and every parameter explained', () => withPage({}, async (page) => {
  const now = Math.floor(Date.now() / 1000);
  const lines = [`${PREFIX}sc=start&t=appview&cd=Start`, `${PREFIX}t=event&ec=Link&ea=Click&el=support&&cd1=Norvik%203000&cd3=USB#${now - 3600}`,
    `${PREFIX}t=appview&cd=Copy & print#${now - 60}`, `${PREFIX}sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start`];
  await drop(page, { 'Statlet_RequestQueue.txt': Buffer.from(lines.join('\n') + '\n') });
  const hits = await rows(page, 'hits');
  assert.deepEqual(hits.map(([session, age, , meaning]) => [session, age.replace(/ \d+ min$/, ''), meaning]), [
    ['1', '', 'A session begins; screen Start'], ['1', '1 h', 'Link / Click / support'],
    ['1', '1 min 0 s', 'Screen Copy  was viewed'], ['1', '', 'ApplicationLifeCycle / Stop / Launch; the session ends'],
  ].map(([a, b, c], i) => [a, i === 2 ? hits[2][1] : b, c]));
  assert.match(hits[2][6], /" print" has no "="/);
  assert.match(await page.locator('#hit-summary').textContent(), /4 hits in 1 session; 1 should be refused/);
  await page.locator('#hits .row').nth(1).click();
  await page.locator('#hit-detail td', { hasText: 'ConnectionType' }).waitFor();
  assert.match(await page.locator('#hit-detail').textContent(), /TrackLumoLink\(linkId/);
  await page.locator('#hits .row').nth(2).click();
  await page.locator('#hit-detail .reasons').waitFor();
  await screenshot(page, 'refused-hit');
}));

test('the export opens as trace events', () => withPage({}, async (page) => {
  await drop(page, { 'errors.log': SAMPLE });
  await rows(page, 'lines');
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('#export')]);
  const { traceEvents } = JSON.parse(fs.readFileSync(await download.path(), 'utf8'));
  assert.equal(traceEvents.filter(({ ph }) => ph === 'X').length, 6);
}));

test('any file at all gives a sentence', () => withPage({}, async (page) => {
  const noise = Buffer.from(Array.from({ length: 20000 }, (_, i) => (i * 7919 + (i >> 3) * 104729) & 0xff));
  await drop(page, { 'empty.log': Buffer.alloc(0), 'picture.png': noise, 'letter.txt': Buffer.from('Dear customer\n'), 'broken.har': Buffer.from('{"log":') });
  await page.locator('#sentences p').nth(3).waitFor();
  const sentences = await page.locator('#sentences p').allTextContents();
  assert.deepEqual(sentences, [
    'empty.log is empty.', 'picture.png is no text: it is neither a trace log nor a file of hits.',
    ...['letter.txt', 'broken.har'].map((name) => `${name} is a text, but neither a trace log nor a queue file, a capture (HAR) or a recording of hits.`),
  ]);
  assert.equal(await page.locator('#welcome').isVisible(), true);
}));

test('half lines, mixed encodings and a line of 1 MB are shown, and the page says what is unusual', () => withPage({}, async (page) => {
  const log = Buffer.concat([wide(`half\r\n(I0) ${'x'.repeat(1 << 20)}\r\n(I0) ${LINE}\r\n`), Buffer.from('(WN) narrow\r\n'), wide('(I0) cut of')]);
  await drop(page, { 'odd.log': log });
  const lines = await rows(page, 'lines');
  assert.deepEqual(lines.map((cells) => cells[5].length), [4, 400, LINE.length, 6, 6]);
  const notes = await page.locator('#notes').textContent();
  for (const text of ['1 line is no line', 'last line has no end', 'encodings are mixed', 'time of day is missing']) {
    assert.ok(notes.includes(text), text);
  }
  await page.locator('#lines .row').nth(1).click();
  await page.locator('#detail', { hasText: 'longer than what is shown' }).waitFor();
}));

test('a file that still grows is read again', () => withPage({}, async (page) => {
  // The browser gives no handle for files that a script drops.
  await page.evaluate(() => {
    DataTransferItem.prototype.getAsFileSystemHandle = async () => ({ kind: 'file', getFile: async () => new File(['(I0) one\r\n(I0) two\r\n'], 'a.log') });
  });
  await drop(page, { 'a.log': Buffer.from('(I0) one\r\n(I0) t') });
  await lineCount(page, '2 lines');
  assert.match(await page.locator('#notes').textContent(), /last line has no end yet/);
  await page.click('#reload');
  await page.locator('#lines .row', { hasText: 'two' }).waitFor();
  await lineCount(page, '2 lines');
  assert.equal((await page.locator('#notes').textContent()).includes('no end yet'), false);
}));

test('a file that cannot be read any more gives a sentence', () => withPage({}, async (page) => {
  await page.evaluate(() => {
    DataTransferItem.prototype.getAsFileSystemHandle = async () => ({ kind: 'file', getFile: () => Promise.reject(new Error('gone')) });
  });
  await drop(page, { 'a.log': Buffer.from('(I0) one\r\n') });
  await lineCount(page, '1 line');
  await page.click('#reload');
  await page.locator('#sentences', { hasText: 'cannot be read again' }).waitFor();
}));

test('nothing leaves the computer: no request but for the page itself, and none is allowed', async () => {
  const page = await openPage(browser);
  await drop(page, { 'errors.log': SAMPLE });
  await rows(page, 'lines');
  assert.deepEqual(page.requests.map((url) => url.split(':')[0]), ['file', 'blob']);
  const refused = await page.evaluate(async () => {
    const violations = [];
    document.addEventListener('securitypolicyviolation', ({ effectiveDirective }) => violations.push(effectiveDirective));
    await fetch('http://127.0.0.1:9/x').catch(() => {});
    const image = new Image();
    image.src = 'http://127.0.0.1:9/x.png';
    const script = document.createElement('script');
    script.textContent = 'window.wasRun = true';
    document.body.append(image, script);
    const beacon = new Worker(URL.createObjectURL(new Blob(['fetch("http://127.0.0.1:9/y").catch(() => postMessage("refused"))'])));
    const answer = await new Promise((resolve) => (beacon.onmessage = ({ data }) => resolve(data)));
    return { violations: violations.sort(), answer, wasRun: window.wasRun === true };
  });
  assert.deepEqual(refused, { violations: ['connect-src', 'img-src', 'script-src-elem'], answer: 'refused', wasRun: false });
  const policy = /Content-Security-Policy" content="([^"]*)"/.exec(fs.readFileSync(PAGE, 'utf8'))[1];
  assert.match(policy, /^default-src 'none';/);
  assert.equal(/https?:|\*|unsafe/.test(policy), false);
  await page.context().close();
});

test('the page is legible in the dark, and says everything by shape or text too', () => withPage({ colorScheme: 'dark' }, async (page) => {
  await drop(page, { 'errors.log': SAMPLE });
  await rows(page, 'lines');
  const [front, back] = await page.evaluate(() => ['color', 'backgroundColor'].map((name) => getComputedStyle(document.body)[name]));
  const brightness = (color) => color.match(/\d+/g).slice(0, 3).reduce((sum, part) => sum + Number(part), 0);
  assert.ok(brightness(front) - brightness(back) > 500);
  assert.match(await page.locator('#legend').textContent(), /\u25b2 error/);
  await screenshot(page, 'dark');
}));
