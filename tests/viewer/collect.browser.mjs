import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import os from 'node:os';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { openPage, rowsOf, screenshot, startBrowser } from './browser.mjs';
import { folderOf, samplesOf } from './samples.mjs';

const COLLECT = path.join(folderOf('KV_VIEWER_PAGE'), 'collect');
const HITS = samplesOf('events.md', '/collect?').slice(0, 4).map((hit) => hit.replaceAll(' ', '%20'));
const HOST = 'collect.norvik.example';

let browser;
let folder;
let collect;
let port;

before(async () => {
  browser = await startBrowser();
  folder = fs.mkdtempSync(path.join(os.tmpdir(), 'collect-'));
  collect = spawn('python3', ['-B', COLLECT, '--record', path.join(folder, 'hits.jsonl')], { stdio: ['ignore', 'pipe', 'inherit'] });
  port = await new Promise((resolve, reject) => {
    let output = '';
    collect.stdout.on('data', (text) => {
      output += text;
      const match = /The proxy: 127\.0\.0\.1:(\d+)/.exec(output);
      match && resolve(Number(match[1]));
    });
    collect.on('exit', () => reject(new Error(`collect ended: ${output}`)));
  });
});

after(async () => {
  await browser?.close();
  collect?.kill();
  fs.rmSync(folder, { recursive: true, force: true });
});

// The status of the answer, or "lost".
function request(method, target, { headers = {}, body = '' } = {}) {
  return new Promise((resolve) => {
    const own = http.request({ port, host: '127.0.0.1', method, path: target, headers }, (response) => {
      response.resume();
      response.on('end', () => resolve(response.statusCode));
    });
    own.on('error', () => resolve('lost'));
    own.setTimeout(20000, () => own.destroy());
    own.end(body);
  });
}

// As a program sends it whose proxy is the collector.
function send(hit) {
  return request('POST', `http://${HOST}:80${hit}`, { headers: { Host: HOST } });
}

test('hits appear on the page as they arrive, are answered as told, and are recorded', async () => {
  const page = await openPage(browser, { url: `http://127.0.0.1:${port}/` });
  await page.locator('#live-tools', { hasText: 'Connected' }).waitFor();
  assert.equal(await send(HITS[0]), 200);
  await page.locator('#hits .row', { hasText: 'A session begins' }).waitFor();
  for (const [answer, status] of [['500', 500], ['lost', 'lost']]) {
    const told = page.waitForResponse((response) => response.url().endsWith('/answer'));
    await page.selectOption('#live-answer', answer);
    assert.equal((await told).status(), 204);
    assert.equal(await send(HITS[1]), status);
  }
  await page.locator('#hits .row', { hasText: 'lost' }).waitFor();
  const rows = await rowsOf(page, 'hits');
  assert.deepEqual(rows.map((cells) => cells[5]), ['200', '\u2716 500', '\u2716 lost']);
  assert.match(await page.locator('#hit-summary').textContent(), /2 were not accepted/);
  await screenshot(page, 'live');
  assert.deepEqual(page.problems, []);
  assert.deepEqual(new Set(page.requests.map((url) => new URL(url.replace(/^blob:/, '')).origin)), new Set([`http://127.0.0.1:${port}`]));
  const recorded = fs.readFileSync(path.join(folder, 'hits.jsonl'), 'utf8').trim().split('\n').map((line) => JSON.parse(line));
  assert.deepEqual(recorded.map(({ path: own, answer, host }) => [own, answer, host]),
    [[HITS[0], 200, `${HOST}:80`], [HITS[1], 500, `${HOST}:80`], [HITS[1], 'lost', `${HOST}:80`]]);
  await page.context().close();
});

test('what other programs send through the same proxy is neither recorded nor passed on', async () => {
  const record = path.join(folder, 'hits.jsonl');
  const before = fs.readFileSync(record, 'utf8');
  assert.equal(await request('POST', 'http://www.norvik.example/form', { headers: { Host: 'www.norvik.example' }, body: 'a=1' }), 404);
  assert.equal(await request('GET', 'http://www.norvik.example/', { headers: { Host: 'www.norvik.example' } }), 403);
  assert.equal(fs.readFileSync(record, 'utf8'), before);
});

test('a slow answer takes five seconds', async () => {
  const headers = { 'X-Collect': '1', Host: `127.0.0.1:${port}` };
  assert.equal(await request('POST', '/answer', { headers, body: 'slow' }), 204);
  const start = Date.now();
  assert.equal(await send(HITS[2]), 200);
  assert.ok(Date.now() - start >= 4900);
  assert.equal(await request('POST', '/answer', { headers, body: '200' }), 204);
});

test('pages from elsewhere reach neither the hits nor the answer', async () => {
  assert.equal(await request('GET', '/', { headers: { Host: 'evil.example' } }), 403);
  assert.equal(await request('GET', '/live', { headers: { Host: `evil.example:${port}` } }), 403);
  assert.equal(await request('POST', '/answer', { headers: { Host: `127.0.0.1:${port}` }, body: '500' }), 400);
  assert.equal(await request('POST', '/answer', { headers: { Host: `127.0.0.1:${port}`, 'X-Collect': '1' }, body: 'burn' }), 400);
  assert.equal(await request('GET', '/../collect', { headers: { Host: `127.0.0.1:${port}` } }), 404);
  assert.equal(await send(HITS[3]), 200);
});
