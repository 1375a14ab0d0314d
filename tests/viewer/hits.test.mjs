import assert from 'node:assert/strict';
import { test } from 'node:test';
import { explainHit, numberSessions, parametersOf, readHits } from '../../viewer/src/hits.mjs';
import { catalogue, readPage, samplesOf } from './samples.mjs';

const NOW = 1416096100000;
const PREFIX = '/collect?v=1&z=6093677622&de=UTF-8&tid=XX-1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&';

function explained(request) {
  return explainHit(readHits('queue', request + '\n').hits[0], catalogue, NOW);
}

function reasonsOf(request) {
  return explained(request).reasons.join('\n');
}

test('every whole hit of the page is an event of the catalogue that a server accepts', () => {
  const hits = samplesOf('events.md', '/collect?').map(explained);
  assert.ok(hits.length >= 25, `${hits.length} hits`);
  for (const hit of hits) {
    assert.deepEqual(hit.reasons, [], hit.request);
    assert.deepEqual(hit.missing, [], hit.request);
    assert.ok(hit.operation, hit.request);
    assert.ok(hit.parameters.every(({ meaning }) => !meaning.startsWith('unknown')), hit.request);
  }
});

test('the operation above each whole hit is the one that is found', () => {
  // TrackSelectedPrinter has two forms with the same event.
  const [, page] = readPage('events.md').split('## Whole hits');
  const [operations] = page.split('## Runs of the program');
  for (const section of operations.split('### ').slice(1)) {
    const name = /^`(\w+)\(/.exec(section)[1];
    for (const line of section.split('\n').filter((text) => text.startsWith('    /collect?'))) {
      assert.ok(explained(line.trim()).operation.operation.startsWith(name + '('), line);
    }
  }
});

test('every parameter and dimension of the pages has a meaning', () => {
  for (const key of ['v', 'z', 'ul', 'de', 'je', 'sd', 'sr', 'vp', 'tid', 'an', 'av', 'aip', 'cid', 'sc', 't', 'ec', 'ea', 'el',
    'ev', 'ni', 'cd', 'exd', 'exf', 'qt']) {
    assert.ok(catalogue.parameters[key], key);
  }
  assert.equal(catalogue.dimensions[8].name, 'ProcessorArchitecture');
});

test('a queue file: marks, ages, sessions, and zeros that a loss of power has left', () => {
  const file = `${PREFIX}sc=start&t=appview&cd=Start\n${PREFIX}t=appview&cd=Home#1416096000\n\0\0\0\n${PREFIX}sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Start\n`;
  const { hits, notes } = readHits('q', file);
  const explainedHits = numberSessions(hits.map((hit) => explainHit(hit, catalogue, NOW)));
  assert.deepEqual(explainedHits.map(({ age, session, meaning }) => [age, session, meaning]), [
    [null, 1, 'A session begins; screen Start'], [100000, 1, 'Screen Home was viewed'],
    [null, 1, 'ApplicationLifeCycle / Stop / Launch; the session ends'],
  ]);
  assert.deepEqual(notes, []);
  assert.match(readHits('q', PREFIX + 't=appv').notes[0], /half a hit/);
});

test('a capture of requests: the hits in it, their answers and the time they waited', () => {
  const entry = (method, url, status) => ({ startedDateTime: '2014-11-16T00:01:40Z', request: { method, url }, response: { status } });
  const capture = { log: { entries: [
    entry('POST', `http://collect.norvik.example${PREFIX}t=appview&cd=Home%20page&qt=1.234e+06`, 503),
    entry('GET', 'https://www.norvik.example/', 200),
  ] } };
  const { hits, notes } = readHits('a.har', JSON.stringify(capture));
  const [hit] = hits.map((own) => explainHit(own, catalogue, NOW));
  assert.deepEqual([hits.length, hit.values.cd, hit.queueTime, hit.age, hit.isRefused, hit.host],
    [1, 'Home page', 1234000, 1234000, true, 'collect.norvik.example']);
  assert.equal(hit.trackedAt, Date.UTC(2014, 10, 16, 0, 1, 40) - 1234000);
  assert.match(notes[0], /1 of 2 requests are no hits/);
});

test('a recording: one hit a line, and lines that are none', () => {
  const { hits, notes } = readHits('a.jsonl', `{"at":1416096000.5,"path":"${PREFIX}t=exception&exd=Boom&exf=0","answer":"lost"}\n{"other":1}\n`);
  const [hit] = hits.map((own) => explainHit(own, catalogue, NOW));
  assert.deepEqual([hits.length, hit.meaning, hit.arrivedAt, hit.isRefused], [1, 'Exception Boom, not fatal', 1416096000500, true]);
  assert.match(notes[0], /1 lines are no recorded hits/);
});

test('values are shown as people write them, and raw', () => {
  const el = explained(`${PREFIX}t=event&ec=a&ea=b&el=a%2Fb`).parameters.find(({ key }) => key === 'el');
  assert.deepEqual([el.value, el.raw], ['a/b', 'a%2Fb']);
  assert.equal(explained(`${PREFIX}t=event&ec=a&ea=b&el=100%`).values.el, '100%');
});

test('two ampersands in a row before the dimensions are no fault', () => {
  const hit = explained(`${PREFIX}t=event&ec=Link&ea=Click&el=support&&cd1=Unknown&cd3=USB#1416096000`);
  assert.deepEqual([hit.reasons, hit.operation.operation.startsWith('TrackLumoLink'), hit.dimensions],
    [[], true, [{ name: 'ModelName', value: 'Unknown' }, { name: 'ConnectionType', value: 'USB' }]]);
});

for (const [name, request, reason] of [
  ['no version', '/collect?z=1&tid=X&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=H', /version \(v\) is missing/],
  ['no property', '/collect?v=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=H', /property id \(tid\)/],
  ['no client', '/collect?v=1&tid=X&t=appview&cd=H', /client id \(cid\) is missing/],
  ['a client that is no UUID', '/collect?v=1&tid=X&cid=me&t=appview&cd=H', /no UUID/],
  ['no kind', PREFIX + 'cd=H', /kind of hit \(t\) is missing/],
  ['an unknown kind', PREFIX + 't=item&cd=H', /unknown: "item"/],
  ['no category', PREFIX + 't=event&ea=b', /needs a category/],
  ['no action', PREFIX + 't=event&ec=b', /needs an action/],
  ['no screen', PREFIX + 't=appview', /name of the screen/],
  ['an ampersand in a value', PREFIX + 't=appview&cd=Copy & print', /" print" has no "="/],
  ['an equals sign behind it', PREFIX + 't=appview&cd=H&x=1', /"x" does not exist/],
  ['a parameter twice', PREFIX + 't=appview&cd=H&cd=I', /cd occurs twice/],
  ['a number sign in a value', PREFIX + 't=appview&cd=No#1 screen#1416096000', /"#" inside a value/],
  ['a value that is no number', PREFIX + 't=event&ec=a&ea=b&ev=x', /\(ev\) is no number/],
  ['a metric that is no number', PREFIX + 't=appview&cd=H&cm1=x', /cm1 is no number/],
  ['a carriage return', PREFIX + 't=appview&cd=H#1416096000\r', /control characters/],
  ['a character beyond ASCII', PREFIX + 't=appview&cd=H\u00e9', /beyond ASCII/],
  ['a different path', PREFIX.replace('/collect?', '/x/collect?') + 't=appview&cd=H', /does not begin/],
]) {
  test(`a hit with ${name} is refused with its reason`, () => assert.match(reasonsOf(request), reason));
}

test('what is no file of hits is left to others', () => {
  for (const text of ['', '(I0) text\r\n', '{"a":1}', '{ broken', 'collect']) {
    assert.equal(readHits('x', text), null, text);
  }
  assert.equal(parametersOf('/collect?').parameters.length, 0);
});
