import assert from 'node:assert/strict';
import path from 'node:path';
import { test } from 'node:test';
import { MARKS } from '../../viewer/src/mark-kinds.mjs';
import { findTable, quoted, readTables } from '../../viewer/src/docs-tables.mjs';
import { SCOPE } from '../../viewer/src/scopes.mjs';
import { COLUMN, TAG, TAGS, parseLine } from '../../viewer/src/trace-line.mjs';
import { KIND } from '../../viewer/src/trace-log.mjs';
import { catalogue, filesIn, folderOf, logOf, messagesOf, readLogs, readPage, samplesOf, scopesOf } from './samples.mjs';
import fs from 'node:fs';

const OPTION = {
  indent: 0x200000, duration: 0x400000, compact: 0x800000, date: 0x1000000, time: 0x2000000, process: 0x4000000,
  thread: 0x8000000, sincePrevious: 0x10000000, counter: 0x20000000,
};

// The columns that these options give a line.
function columnsOf(options) {
  let columns = 0;
  for (const name of ['date', 'time', 'process', 'thread', 'sincePrevious', 'counter']) {
    columns |= options & OPTION[name] ? COLUMN[name] : 0;
  }
  return columns | (options & OPTION.counter ? COLUMN.lineNumber : 0);
}

// What LogSamples.cpp logs: tags, source line, message without duration.
const SAMPLE_LINES = [
  ['->', 10, 'COuter::Run'], ['-> IP', 20, 'CInner::Take, one 2'], ['<-', 0, 'CInner::Take'],
  ['->', 30, 'CInner::Write'], ['I', 31, 'plain'], ['I', 32, 'detailed'], ['WN', 33, 'warning: [1] {2} (3)'],
  ['##', 34, 'error'], ['EX WN', 35, 'caught'], ['ST', 36, 'status'], ['DB', 37, 'debug'], ['LK IP', 38, 'locked'],
  ['M', 39, 'marker'], ['I', 40, ''], ['I', 12345, 'two'], ['', null, 'lines'], ['I', 42, '\u00e9\u4e2d\u{1F600}'],
  ['<-', 0, 'CInner::Write'], ['->', 50, 'Samples::Fail'], ['<-', 0, 'Samples::Fail'],
  ['**', 0, '[Err: 0x00000002] File not found., [GLE: 0x00000000] Success.'],
  ['->', 60, 'CInner::Handle'], ['<-', 0, 'CInner::Handle(handled exception) '],
  ['->', 61, 'CInner::Throw'], ['<-', 0, 'CInner::Throw(*unhandled exception*) '], ['<-', 0, 'COuter::Run'],
];
const HEADER_LINES = 6;
const SAMPLE_SCOPES = [
  'COuter::Run', '  CInner::Take', '  CInner::Write', '  Samples::Fail', '  CInner::Handle', '  CInner::Throw',
];

function tagsOf(bits) {
  return TAGS.filter((name) => bits & TAG[name]).join(' ');
}

function withoutDuration(message, options) {
  return options & OPTION.duration ? message.replace(/ \(Dur: [0-9]+ us\) /, '') : message;
}

function assertSampleLines(log, options, name) {
  const { lines } = log;
  const actual = [];
  for (let i = HEADER_LINES; i < lines.count; ++i) {
    const hasNumber = lines.columns[i] & COLUMN.lineNumber && lines.kind[i] !== KIND.continuation;
    actual.push([tagsOf(lines.tags[i]), hasNumber ? lines.lineNumber[i] : null, withoutDuration(log.message(i), options)]);
  }
  const expected = SAMPLE_LINES.map(([tags, number, message]) => [tags, options & OPTION.counter ? number : null, message]);
  assert.deepEqual(actual, expected, name);
}

test('a log of every combination of options is read line by line', () => {
  const files = filesIn(folderOf('KV_VIEWER_SAMPLES'));
  assert.equal(files.length, 512);
  for (const file of files) {
    const options = parseInt(path.basename(file), 16);
    const { log, analysis } = readLogs(file);
    assertSampleLines(log, options, file);
    for (let i = 0; i < log.lines.count; ++i) {
      assert.equal(log.lines.columns[i], columnsOf(options), `${file}, line ${i}`);
    }
    assert.equal(log.countOfKind(KIND.unknown), 0, file);
    assert.equal(log.countOfKind(KIND.continuation), 1, file);
    assert.equal(log.countOfKind(KIND.empty), 1, file);
    assert.deepEqual(scopesOf({ log, analysis }), SAMPLE_SCOPES, file);
    assert.equal(analysis.lanes.length, 1, file);
  }
});

test('durations, counters and processes of the samples are numbers that fit each other', () => {
  const all = 0x3fe00000 & ~OPTION.compact;
  for (const options of [all, all | OPTION.compact]) {
    const { log, analysis } = readLogs(path.join(folderOf('KV_VIEWER_SAMPLES'), `${options.toString(16)}.log`));
    const { scopes } = analysis;
    for (let i = 0; i < scopes.count; ++i) {
      assert.ok(scopes.duration[i] >= 0);
      // The entry line is written before the scope's own work, the exit line after it.
      assert.ok(Math.abs(scopes.end[i] - scopes.start[i] - scopes.duration[i]) < 5e6);
    }
    assert.equal(analysis.lanes[0].process, Number(/[0-9]+/.exec(log.files[0].headers[0]['Process ID'])[0]));
    assert.ok(analysis.lanes[0].thread > 0);
    assert.deepEqual(analysis.notes, []);
    const year = new Date(log.lines.time[0] / 1000).getUTCFullYear();
    assert.ok(year >= 2024 && year < 2100);
  }
});

test('marks of the samples: warnings, errors, exceptions and the error code', () => {
  const { analysis } = readLogs(path.join(folderOf('KV_VIEWER_SAMPLES'), '2f600000.log'));
  assert.deepEqual(Array.from(analysis.marks.kind, (kind) => MARKS[kind].kind),
    ['warning', 'error', 'exception', 'errorCode', 'exception', 'exception']);
});

test('logs of the program itself have no unknown line and no scope without an end', () => {
  const files = filesIn(folderOf('KV_VIEWER_PROGRAM_LOGS')).filter((file) => !file.endsWith('eight.log'));
  assert.ok(files.length >= 16, `${files.length} files`);
  for (const file of files) {
    const options = parseInt(path.basename(file).slice(1), 16);
    const { log, analysis } = readLogs(file);
    assert.equal(log.countOfKind(KIND.unknown) + log.countOfKind(KIND.continuation), 0, file);
    assert.equal(log.files[0].commonColumns, columnsOf(options), file);
    assert.deepEqual(scopesOf({ log, analysis }).slice(0, 3),
      ['wWinMain', '  CAnalyticsProxy::Run', '    CAnalyticsProxy::IsOptInForAnalytics'], file);
    assert.equal(analysis.scopes.flags.slice(0, analysis.scopes.count).some((flags) => flags), false, file);
  }
});

test('eight processes in one file are told apart', () => {
  const { log, analysis } = readLogs(path.join(folderOf('KV_VIEWER_PROGRAM_LOGS'), 'eight.log'));
  assert.equal(log.countOfKind(KIND.unknown) + log.countOfKind(KIND.continuation), 0);
  assert.equal(analysis.lanes.length, 8);
  assert.equal(new Set(analysis.lanes.map(({ process }) => process)).size, 8);
  // The last lines of a process can be lost while another one has the file, so not every function has its end.
  const { scopes } = analysis;
  const outermost = Array.from({ length: scopes.count }, (_, i) => i).filter((i) => log.names.list[scopes.name[i]] === 'wWinMain');
  assert.deepEqual(outermost.map((i) => [scopes.lane[i], scopes.depth[i]]).sort(), [0, 1, 2, 3, 4, 5, 6, 7].map((lane) => [lane, 0]));
});

test('every tag of the page is known, in the order that the page gives', () => {
  const page = readPage('logging.md');
  const table = findTable(readTables(page), 'bits', 'tag', 'lines');
  const ofTable = table.rows.flatMap(([, tag]) => quoted(tag)).map((tag) => tag.replace(/[0-9]*\)$/, '').slice(1));
  assert.deepEqual(new Set(ofTable), new Set(TAGS));
  const [order] = quoted(/When a line has several tags they come in this order:\n(.*)\n/.exec(page)[1]);
  assert.deepEqual(order.match(/\(([^)0-9]+)/g).map((text) => text.slice(1)), TAGS);
  assert.equal(catalogue.tags.length, TAGS.length);
});

test('every prefix column of the page is read from the sample that the page shows', () => {
  const table = findTable(readTables(readPage('logging.md')), 'bits', 'effect');
  const prefixes = table.rows.filter(([, effect]) => effect.startsWith('prefix:'));
  assert.equal(prefixes.length, 6);
  for (const [bit, effect] of prefixes) {
    // Behind a comma, the compact form; the number of the source line stands only behind the counter.
    const samples = quoted(effect).filter((sample) => sample !== '0120: ');
    assert.ok(samples.length > 0, effect);
    for (const sample of samples) {
      const text = `${sample}${effect.includes('`0120: `') ? '0120: ' : ''}(I0) text`;
      const line = parseLine(text, 0, text.length);
      assert.equal(line.columns, columnsOf(Number(bit)), sample);
      assert.equal(text.slice(line.message), 'text');
    }
  }
});

test('the option bits of the header are those of the page', () => {
  const header = fs.readFileSync(new URL('../../logging/LogFlags.h', import.meta.url), 'utf8');
  const bits = Object.fromEntries([...header.matchAll(/kOption(\w+) = 0x([0-9A-F]+)/g)].map((match) => [match[1], parseInt(match[2], 16)]));
  assert.deepEqual(
    [bits.Indent, bits.Duration, bits.CompactTime, bits.Date, bits.Time, bits.ProcessTag, bits.ThreadId, bits.SincePrevious,
      bits.CounterAndLine],
    ['indent', 'duration', 'compact', 'date', 'time', 'process', 'thread', 'sincePrevious', 'counter'].map((name) => OPTION[name]));
});

test('the sample log of the page is read as the page explains it', () => {
  const { log, analysis } = logOf(samplesOf('logging.md', '2026'));
  assert.equal(log.lines.count, 13);
  assert.deepEqual(scopesOf({ log, analysis }), ['CSxSConfig::_GetIniFile', '  CPathUtils::GetPathOfExecutable']);
  assert.equal(analysis.scopes.flags[0], SCOPE.errorCode);
  assert.deepEqual(Array.from(analysis.marks.kind, (kind) => MARKS[kind].kind), ['error', 'errorCode']);
  assert.equal(analysis.lanes[0].program, 'C:\\Program Files\\Norvik\\KVAnalyticsProxy.exe');
});

test('the queued lines of the page are marked', () => {
  const { log, analysis } = logOf(['--- Queued Lines Start ---', '(I0) one', '(I0) two', '--- Queued Lines End ---', '(I0) three']);
  assert.deepEqual(Array.from(log.lines.kind.slice(0, 5)), [KIND.queueStart, KIND.line, KIND.line, KIND.queueEnd, KIND.line]);
  assert.deepEqual(Array.from(analysis.marks.kind, (kind) => MARKS[kind].kind), ['queued']);
});

test('a full file is marked, and what a different module writes behind it is a line', () => {
  const { log, analysis } = logOf('(I0) last\r\n*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR Utils MODULE ***(WN) other\r\n');
  assert.deepEqual(messagesOf(log), ['last', '*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR Utils MODULE ***', 'other']);
  assert.deepEqual(Array.from(analysis.marks.kind, (kind) => MARKS[kind].kind), ['full', 'warning']);
});

test('a pending fault is taken from the end of a function', () => {
  const { log, analysis } = logOf(['(->) C::F', '(<-) C::F   *** UNHANDLED EXCEPTION PENDING *** (Dur: 12 us) ']);
  assert.deepEqual(scopesOf({ log, analysis }), ['C::F']);
  assert.equal(analysis.scopes.flags[0], SCOPE.pending);
  assert.equal(analysis.scopes.duration[0], 12);
  assert.deepEqual(Array.from(analysis.marks.kind, (kind) => MARKS[kind].kind), ['fault']);
});
