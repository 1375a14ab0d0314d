import assert from 'node:assert/strict';
import { test } from 'node:test';
import { MARKS } from '../../viewer/src/mark-kinds.mjs';
import { writeChromeTrace } from '../../viewer/src/chrome-trace.mjs';
import { filterLines } from '../../viewer/src/filter.mjs';
import { SCOPE } from '../../viewer/src/scopes.mjs';
import { TAG } from '../../viewer/src/trace-line.mjs';
import { KIND, TraceLog } from '../../viewer/src/trace-log.mjs';
import { catalogue, logOf, messagesOf, scopesOf } from './samples.mjs';
import { unitsOf } from '../../viewer/src/text.mjs';

const DAY = 86400e6;

function marksOf({ analysis }) {
  return Array.from(analysis.marks.kind, (kind) => MARKS[kind].kind);
}

function timesOf({ log, analysis }) {
  const first = log.lines.time[analysis.order[0]];
  return Array.from(log.lines.time.slice(0, log.lines.count), (time) => time - first);
}

function shown({ log, analysis }, filter) {
  return Array.from(filterLines(log, analysis, filter, catalogue), (i) => log.message(i));
}

test('threads of several processes have lanes of their own', () => {
  const result = logOf([
    '0000000001 [1] {tid: 0x0010} 0001: (->) A::F', '0000000002 [2] {tid: 0x0010} 0001: (->) B::G',
    '0000000003 [1] {tid: 0x0011} 0001: (->) A::H', '0000000004 [1] {tid: 0x0010}       (<-) A::F',
    '0000000005 [2] {tid: 0x0010}       (<-) B::G', '0000000006 [1] {tid: 0x0011}       (<-) A::H',
  ]);
  assert.deepEqual(scopesOf(result), ['A::F', 'B::G', 'A::H']);
  assert.deepEqual(result.analysis.lanes.map(({ process, thread }) => [process, thread]), [[1, 16], [2, 16], [1, 17]]);
  assert.deepEqual(marksOf(result), []);
  assert.deepEqual(Array.from(result.analysis.scopes.end.slice(0, 3)), [4, 5, 6]);
});

test('a function without an end is closed by the end of its caller, and marked', () => {
  const result = logOf(['{tid: 0x0001} (->) A::Outer', '{tid: 0x0001} (->) A::Lost', '{tid: 0x0001} (<-) A::Outer']);
  assert.deepEqual(scopesOf(result), ['A::Outer', '  A::Lost']);
  assert.equal(result.analysis.scopes.flags[1], SCOPE.noExit);
  assert.deepEqual(marksOf(result), ['noExit']);
});

test('what is open at the end of the log lasts as long as the log', () => {
  const result = logOf(['0000000010 {tid: 0x0001} 0001: (->) A::F', '0000000030 {tid: 0x0001} 0002: (I0) more',
    '0000000040 {tid: 0x0001} 0002: (<-) B::Never']);
  assert.equal(result.analysis.scopes.flags[0], SCOPE.noExit | SCOPE.isOpen);
  assert.equal(result.analysis.scopes.end[0], 40);
});

test('a log that begins in the middle: ends without a begin get it from their duration', () => {
  const result = logOf(['0000001000 {tid: 0x0001} 0001: (->) A::Inner', '0000001100 {tid: 0x0001}       (<-) A::Inner (Dur: 90 us) ',
    '0000001200 {tid: 0x0001}       (<-) A::Outer (Dur: 700 us) ']);
  assert.deepEqual(scopesOf(result), ['  A::Inner', 'A::Outer']);
  const { scopes } = result.analysis;
  assert.deepEqual([scopes.start[1], scopes.end[1], scopes.flags[1]], [500, 1200, SCOPE.noEntry]);
  assert.deepEqual(marksOf(result), ['noEntry']);
});

test('without thread ids, interleaved functions of threads are not taken for lost ones', () => {
  const result = logOf(['(->) A::F', '(->) B::G', '(<-) A::F', '(->) C::H', '(<-) B::G', '(<-) C::H']);
  assert.deepEqual(marksOf(result), []);
  assert.deepEqual(scopesOf(result), ['A::F', '  B::G', 'C::H']);
  assert.match(result.analysis.notes.join('\n'), /thread id is missing: lines of different threads are shown as those of one \(LogOptions 0x8000000\)/);
});

test('a process with the number of an earlier one leaves nothing open', () => {
  const header = '[7] {tid: 0x0001} (++) Module File Name: C:\\a.exe (1 bytes)';
  const result = logOf([header, '[7] {tid: 0x0001} (->) A::F', header, '[7] {tid: 0x0001} (->) A::F', '[7] {tid: 0x0001} (<-) A::F']);
  assert.deepEqual(scopesOf(result), ['A::F', 'A::F']);
  assert.deepEqual([...result.analysis.scopes.flags.slice(0, 2)], [SCOPE.noExit, 0]);
});

test('begins alone have no length, and the page says so', () => {
  const result = logOf(['(->) A::F', '(->) A::G', '(I0) x']);
  assert.deepEqual(scopesOf(result), ['A::F', 'A::G']);
  assert.deepEqual(marksOf(result), []);
  assert.match(result.analysis.notes.join('\n'), /Ends of functions are not logged/);
});

test('a log without functions says what would show them', () => {
  assert.match(logOf(['(I0) x']).analysis.notes.join('\n'), /LogCategories 0xC00/);
});

test('lines that waited in memory have their place in time, and the mark before them belongs to their process', () => {
  const result = logOf(['0000000010 [1] {tid: 0x0001} 0001: (->) A::F', '0000000040 [1] {tid: 0x0001}       (<-) A::F',
    '0000000041 [2] {tid: 0x0009} 0001: (I0) other', '--- Queued Lines Start ---', '0000000020 [1] {tid: 0x0001} 0001: (->) B::G',
    '0000000030 [1] {tid: 0x0001}       (<-) B::G', '--- Queued Lines End ---']);
  assert.deepEqual(scopesOf(result), ['A::F', '  B::G']);
  assert.deepEqual(marksOf(result), ['queued']);
  assert.deepEqual([result.analysis.marks.lane[0], result.analysis.marks.time[0]], [0, 20]);
  assert.deepEqual(Array.from(result.analysis.order), [0, 1, 2, 3, 4, 5, 6]);
});

test('the counter starts over after ten digits', () => {
  const result = logOf(['9999999990 0001: (I0) a', '0000000010 0001: (I0) b', '9999999995 0001: (I0) c', '0000000020 0001: (I0) d']);
  assert.deepEqual(timesOf(result), [0, 20, 5, 30]);
});

test('counters of two files put their lines in one order', () => {
  const result = logOf(
    ['2026/11/21 08:01:04 0000000100 [1] 0001: (I0) a', '2026/11/21 08:01:05 0001000000 [1] 0001: (I0) c'],
    ['2026/11/21 08:01:04 0000000200 [2] 0001: (I0) b']);
  assert.deepEqual(Array.from(result.analysis.order, (i) => result.log.message(i)), ['a', 'b', 'c']);
  assert.deepEqual(result.analysis.lanes.map(({ process }) => process), [1, 2]);
});

test('files whose times are far apart are put in order', () => {
  const lines = (from, step) => Array.from({ length: 500 }, (_, i) => `${String(from + i * step).padStart(10, '0')} 0001: (I0) ${from + i * step}`);
  const result = logOf(lines(1000, 2), lines(1, 4), lines(500, 3));
  const times = Array.from(result.analysis.order, (i) => result.log.lines.time[i]);
  assert.deepEqual(times, [...times].sort((a, b) => a - b));
  assert.equal(new Set(result.analysis.order).size, 1500);
});

test('a change of the clock is marked and moves no line', () => {
  const result = logOf(['2026/11/21 08:00:00 0000000000 0001: (I0) a', '2026/11/21 07:00:00 0000500000 0001: (I0) b',
    '2026/11/21 07:00:01 0001500000 0001: (I0) c']);
  assert.deepEqual(timesOf(result), [0, 500000, 1500000]);
  assert.deepEqual(marksOf(result), ['clock']);
});

test('without a counter the lines of a second are spread over it, and the page says so', () => {
  const result = logOf(['2026/11/21 08:00:00 (I0) a', '2026/11/21 08:00:00 (I0) b', '2026/11/21 08:00:02 (I0) c']);
  assert.deepEqual(timesOf(result), [0, 500000, 2e6]);
  assert.match(result.analysis.notes.join('\n'), /within a second the order of lines is true, and their distances are not/);
});

test('without a date midnight begins a new day', () => {
  const result = logOf(['23:59:59 (I0) a', '00:00:01 (I0) b']);
  assert.deepEqual(timesOf(result), [0, 2e6]);
  assert.equal(result.log.lines.time[0], DAY - 1e6);
});

test('milliseconds since the line before are added up; the first one counts from the start of the computer', () => {
  const result = logOf(['(99999999 ms) (I0) a', '(000005 ms) (I0) b', '(000010 ms) (I0) c']);
  assert.deepEqual(timesOf(result), [0, 5000, 15000]);
});

test('without any clock the axis counts lines', () => {
  const result = logOf(['(I0) a', '(I0) b']);
  assert.equal(result.analysis.axis, 'order');
  assert.deepEqual(timesOf(result), [0, 1]);
});

test('files with and without clocks begin together, and the page says so', () => {
  const result = logOf(['2026/11/21 08:00:00 (I0) a'], ['(I0) b']);
  assert.deepEqual(timesOf(result), [0, 0]);
  assert.match(result.analysis.notes.join('\n'), /no clock in common/);
});

test('lines are filtered by tag, module, function, time, lane and text', () => {
  const result = logOf(['0000000010 [1] 0001: (->) CPathUtils::StripFilename', '0000000020 [1] 0002: (WN) careful',
    '0000000030 [1]       (<-) CPathUtils::StripFilename', '0000000040 [2] 0001: (->) CAnalyticsEngine::Start',
    '0000000050 [2] 0001: (I0) Careless']);
  assert.deepEqual(shown(result, { tags: TAG.WN | TAG.I }), ['careful', 'Careless']);
  assert.deepEqual(shown(result, { module: 'Utils' }), ['CPathUtils::StripFilename', 'careful', 'CPathUtils::StripFilename']);
  assert.deepEqual(shown(result, { functionName: 'start' }), ['CAnalyticsEngine::Start', 'Careless']);
  assert.deepEqual(shown(result, { from: 20, to: 40 }), ['careful', 'CPathUtils::StripFilename', 'CAnalyticsEngine::Start']);
  assert.deepEqual(shown(result, { lane: 1 }), ['CAnalyticsEngine::Start', 'Careless']);
  assert.deepEqual(shown(result, { search: 'CARE' }), ['careful', 'Careless']);
  assert.deepEqual(shown(result, { search: 'care', tags: TAG.WN }), ['careful']);
  assert.deepEqual(shown(result, { search: '(WN)' }), ['careful']);
  assert.deepEqual(shown(result, { search: 'nowhere' }), []);
});

test('a continuation goes with its line', () => {
  const result = logOf(['(WN) first', 'more of it', '(I0) second']);
  assert.deepEqual(shown(result, { tags: TAG.WN }), ['first', 'more of it']);
});

test('lines of 1 MB, a half line at the start and none at the end are kept', () => {
  const long = 'x'.repeat(1 << 20);
  const result = logOf(`:01:04 half\r\n(I0) ${long}\r\n(I0) ${long}\r\n(WN) cut of`);
  assert.deepEqual(messagesOf(result.log).map((message) => message.length), [11, 1 << 20, 1 << 20, 6]);
  assert.equal(result.log.countOfKind(KIND.unknown), 1);
  const notes = result.analysis.notes.join('\n');
  assert.match(notes, /1 line is no line of a trace log/);
  assert.match(notes, /last line has no end yet/);
  assert.deepEqual(Array.from(filterLines(result.log, result.analysis, { search: 'xxxx' }, catalogue)), [1, 2]);
});

test('a block boundary cuts no line', () => {
  const count = 60000;
  const log = new TraceLog();
  log.addFile('a', unitsOf(Array.from({ length: count }, (_, i) => `(I0) line number ${i} of many\r\n`).join('')));
  assert.equal(log.lines.count, count);
  for (let i = 0; i < count; i += 997) {
    assert.equal(log.message(i), `line number ${i} of many`);
  }
});

test('an empty log is analysed', () => {
  const { analysis } = logOf('');
  assert.equal(analysis.order.length, 0);
});

test('the export is Chrome trace events: complete events, instants and names', () => {
  const { log, analysis } = logOf(['2026/11/21 08:00:00 0000000100 [1] {tid: 0x00FF} 0010: (->) CPathUtils::F', '2026/11/21 08:00:00 0000000150 [1] {tid: 0x00FF} 0011: (##) bad',
    '2026/11/21 08:00:00 0000000300 [1] {tid: 0x00FF}       (<-) CPathUtils::F (Dur: 190 us) ']);
  const { traceEvents } = JSON.parse([...writeChromeTrace(log, analysis, catalogue)].join(''));
  const complete = traceEvents.filter(({ ph }) => ph === 'X');
  assert.equal(complete.length, 1);
  const { name, cat, dur, pid, tid, args } = complete[0];
  assert.deepEqual({ name, cat, dur, pid, tid, args }, {
    name: 'CPathUtils::F', cat: 'Utils', dur: 200, pid: 1, tid: 255, args: { line: 10, reportedDurationUs: 190 },
  });
  const [instant] = traceEvents.filter(({ ph }) => ph === 'i');
  assert.deepEqual([instant.name, instant.args.message, instant.ts - complete[0].ts], ['error', 'bad', 50]);
  assert.deepEqual(traceEvents.filter(({ ph }) => ph === 'M').map(({ name: own }) => own), ['process_name', 'thread_name']);
});
