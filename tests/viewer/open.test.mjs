import assert from 'node:assert/strict';
import { test } from 'node:test';
import { openBytes } from '../../viewer/src/open.mjs';
import { ScopeRows } from '../../viewer/src/rows.mjs';
import { durationText, shortened, timeText } from '../../viewer/src/texts.mjs';
import { samplesOf } from './samples.mjs';

function open(text, encoding = 'utf8') {
  return openBytes('x', new Uint8Array(Buffer.from(text, encoding)));
}

test('a trace log is recognised with and without prefixes, in any encoding', () => {
  for (const text of [samplesOf('logging.md', '2026').join('\r\n'), '(I0) only a tag\r\n', '--- Queued Lines Start ---\r\n', '20261121080104[7] no tag\r\n']) {
    for (const encoding of ['utf8', 'utf16le']) {
      assert.equal(open(text, encoding).kind, 'trace', text);
    }
  }
});

test('a log that mentions a hit is no queue file', () => {
  const [hit] = samplesOf('events.md', '/collect?');
  assert.equal(open(`(I0) refused: ${hit}\r\n(I0) more\r\n`, 'utf16le').kind, 'trace');
});

test('a queue file, a capture and a recording are hits', () => {
  const [hit] = samplesOf('events.md', '/collect?');
  const entry = { request: { method: 'POST', url: `http://collect.norvik.example${hit}` } };
  for (const text of [`${hit}\n`, JSON.stringify({ log: { entries: [entry] } }), JSON.stringify({ at: 1, path: hit, answer: 200 }) + '\n']) {
    const { kind, hits } = open(text);
    assert.deepEqual([kind, hits.length, hits[0].request], ['hits', 1, hit]);
  }
});

test('a queue whose first hit is damaged is one nevertheless', () => {
  const [hit] = samplesOf('events.md', '/collect?');
  for (const text of [`${hit.slice(20)}\n${hit}\n`, `xx${hit}\n`]) {
    assert.equal(open(text).kind, 'hits', text);
  }
});

test('measurements are rows with a ratio', () => {
  const rows = { a: { pairs: [], ratio: 1.1, spread: [1, 1.2], goal: 1.3, met: true }, empty: { modules: [] } };
  const { kind, results } = open(JSON.stringify({ program_bytes: 600000, rows }));
  assert.deepEqual([kind, results.programBytes, results.rows],
    ['results', 600000, [{ row: 'a', ratio: 1.1, low: 1, high: 1.2, goal: 1.3, isMet: true }]]);
});

test('anything else is nothing, with a sentence', () => {
  assert.equal(open('').sentence, 'x is empty.');
  for (const text of ['Dear customer', '{"log":', '{"rows":3}', '[]', '{"a":{}}', '\n\n\n', '0']) {
    const { kind, sentence } = open(text);
    assert.deepEqual([kind, sentence.startsWith('x is a text, but neither')], ['nothing', true], text);
  }
});

test('random bytes never end in an exception', () => {
  let state = 1;
  const random = () => (state = (state * 1103515245 + 12345) & 0x7fffffff) >> 8;
  const pieces = ['(I0) a\r\n', '/collect?v=1', '{"path":', '2026/11/21 08:01:04 ', '\ufeff', '*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR '];
  for (let i = 0; i < 300; ++i) {
    const parts = Array.from({ length: random() % 6 }, () => (random() % 2
      ? Buffer.from(pieces[random() % pieces.length], random() % 2 ? 'utf16le' : 'utf8')
      : Buffer.from(Array.from({ length: random() % 9 }, () => random() & 0xff))));
    assert.ok(['trace', 'hits', 'results', 'nothing'].includes(openBytes('x', new Uint8Array(Buffer.concat(parts))).kind));
  }
});

// Rows of scopes, all in one lane: [start, end, depth].
function rowsOf(scopes) {
  const column = (i, Type) => Type.from(scopes.map((scope) => scope[i]));
  return new ScopeRows({ start: column(0, Float64Array), end: column(1, Float64Array), depth: column(2, Uint16Array), lane: new Uint16Array(scopes.length) }, 1);
}

function painted(rows, from, to, pixelsPerUnit) {
  const scopes = [];
  rows.visit(0, 0, from, to, pixelsPerUnit, (scope) => scopes.push(scope));
  return scopes;
}

test('only what is in view is painted, with what began before it', () => {
  const rows = rowsOf([[0, 10, 0], [20, 30, 0], [22, 24, 1], [40, 50, 0], [60, 70, 0]]);
  assert.deepEqual(painted(rows, 25, 45, 1), [1, 3]);
  assert.deepEqual([rows.at(0, 0, 25, 0), rows.at(0, 1, 23, 0), rows.at(0, 0, 35, 1), rows.at(0, 0, 36, 6)], [1, 2, -1, 3]);
});

test('of scopes that share a pixel the first is painted: many cost no more than the width', () => {
  const count = 200000;
  const rows = rowsOf(Array.from({ length: count }, (_, i) => [i * 10, i * 10 + 5, 0]));
  const width = 1000;
  const scopes = painted(rows, 0, count * 10, width / (count * 10));
  assert.ok(scopes.length >= width / 2 && scopes.length <= width + 1, String(scopes.length));
});

test('ends alone are sorted by their begins', () => {
  assert.deepEqual(painted(rowsOf([[30, 40, 0], [10, 20, 0]]), 0, 50, 1), [1, 0]);
});

test('times and durations are written for people', () => {
  assert.deepEqual([0, 740, 11293, 1234567, 61e6, 3700e6, 90000e6].map(durationText),
    ['0 \u00b5s', '740 \u00b5s', '11.3 ms', '1.23 s', '1 min 1 s', '1 h 1 min', '1 d 1 h']);
  assert.equal(timeText(1795248064000274, 'wall'), '08:01:04.000274');
  assert.equal(timeText(1795248064000274, 'wall', 3), '08:01:04.000');
  assert.equal(timeText(6, 'order'), 'line 7');
  assert.equal(timeText(1500000, 'counter', 3), '1.500 s');
});

test('a name loses its class first, then its end', () => {
  assert.deepEqual([10, 6, 3, 0].map((most) => shortened('CClass::Method', most)), ['Method', 'Method', 'Me\u2026', 'M\u2026']);
  assert.deepEqual([8, 4].map((most) => shortened('wWinMain', most)), ['wWinMain', 'wWi\u2026']);
});
