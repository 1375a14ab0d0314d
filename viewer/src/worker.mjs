// The page's second thread: reads files, keeps their text and answers what the page asks. Nothing here touches the page.
import catalogue from 'kv:catalogue';
import { analyse } from './analysis.mjs';
import { MARKS } from './mark-kinds.mjs';
import { writeChromeTrace } from './chrome-trace.mjs';
import { filterLines, moduleOf } from './filter.mjs';
import { explainHit, numberSessions, parseRecorded } from './hits.mjs';
import { openBytes } from './open.mjs';
import { SCOPE } from './scopes.mjs';
import { COLUMN, TAGS } from './trace-line.mjs';
import { KIND, TraceLog } from './trace-log.mjs';

const MOST_MESSAGE = 400;
const MOST_DETAIL = 20000;

let log = new TraceLog();
let analysis = null;
let shown = new Uint32Array();
let hits = [];
let sentences = [];
let results = [];

async function readFile(file) {
  try {
    return new Uint8Array(await file.arrayBuffer());
  } catch {
    sentences.push(`${file.name} cannot be read: it was changed or removed since it was chosen. Choose it again.`);
    return null;
  }
}

async function open({ files }, tell) {
  for (const [i, file] of files.entries()) {
    tell({ text: `Reading ${file.name}`, part: i / files.length });
    const bytes = await readFile(file);
    if (bytes) {
      try {
        addFile(file.name, bytes, (part) => tell({ text: `Reading ${file.name}`, part: (i + part) / files.length }));
      } catch (error) {
        sentences.push(`${file.name} cannot be shown: ${error.message}`);
      }
    }
  }
  return state();
}

function addFile(name, bytes, progress) {
  const content = openBytes(name, bytes);
  if (content.kind === 'trace') {
    const file = log.addFile(name, content.units, progress);
    Object.assign(file, { note: content.note, encoding: content.encoding });
  } else if (content.kind === 'hits') {
    addHits(content.hits);
    sentences.push(...content.notes);
  } else if (content.kind === 'results') {
    results.push(content.results);
  } else {
    sentences.push(content.sentence);
  }
}

function addHits(more) {
  const now = Date.now();
  hits.push(...more.map((hit) => explainHit(hit, catalogue, now)));
  numberSessions(hits);
}

function close() {
  log = new TraceLog();
  analysis = null;
  shown = new Uint32Array();
  hits = [];
  results = [];
  sentences = [];
  return state();
}

function traceState() {
  if (log.lines.count === 0) {
    return null;
  }
  analysis = analyse(log);
  shown = analysis.order;
  const { axis, lanes, notes } = analysis;
  const names = log.names.list;
  return {
    axis, lanes, notes, names,
    nameModules: names.map((name) => moduleOf(name, catalogue)),
    files: log.files.map(({ name, count, encoding }) => ({ name, count, encoding })),
    lineCount: log.lines.count,
    unknownCount: log.countOfKind(KIND.unknown),
    firstTime: log.lines.time[analysis.order[0]],
    lastTime: lastTime(),
    scopes: analysis.scopes.copy(),
    marks: analysis.marks,
  };
}

function lastTime() {
  let last = -Infinity;
  for (let i = 0; i < log.lines.count; ++i) {
    last = Math.max(last, log.lines.time[i]);
  }
  return last;
}

function state() {
  const told = sentences;
  sentences = [];
  return { trace: traceState(), hits, results, sentences: told };
}

function filter({ filter: wanted }) {
  shown = analysis ? filterLines(log, analysis, wanted, catalogue) : new Uint32Array();
  return { count: shown.length };
}

function tagsOf(i) {
  const { tags, level, marker } = log.lines;
  return TAGS.filter((_, place) => tags[i] & (1 << place)).map((tag) =>
    tag === 'I' ? `I${level[i]}` : tag === 'M' ? `M${marker[i]}` : tag,
  );
}

function describeLine(i, most) {
  const { lines } = log;
  const lane = analysis.lanes[lines.lane[i]];
  const scope = lines.scope[i];
  return {
    line: i,
    kind: lines.kind[i],
    time: lines.time[i],
    process: lane.process,
    thread: lane.thread,
    lane: lines.lane[i],
    lineNumber: lines.columns[i] & COLUMN.lineNumber ? lines.lineNumber[i] : 0,
    tags: tagsOf(i),
    depth: scope < 0 ? 0 : analysis.scopes.depth[scope] + (lines.name[i] < 0 ? 1 : 0),
    message: log.message(i, most),
    isCut: lines.end[i] - lines.start[i] - lines.message[i] > most,
  };
}

function lines({ from, to }) {
  return { from, lines: Array.from(shown.subarray(from, to), (i) => describeLine(i, MOST_MESSAGE)) };
}

const SCOPE_TEXTS = {
  [SCOPE.noExit]: 'Its end is not in the log.',
  [SCOPE.noEntry]: 'Its begin is not in the log.',
  [SCOPE.pending]: 'A fault was on its way through the process when it ended.',
  [SCOPE.handled]: 'A handled exception left it.',
  [SCOPE.unhandled]: 'An unhandled exception left it.',
  [SCOPE.errorCode]: 'It ended with an error code.',
  [SCOPE.isOpen]: 'It was still running at the end of the log.',
};

function describeScope(scope) {
  const { scopes } = analysis;
  const name = log.names.list[scopes.name[scope]];
  return {
    scope, name,
    module: moduleOf(name, catalogue),
    start: scopes.start[scope],
    end: scopes.end[scope],
    duration: scopes.duration[scope],
    line: scopes.line[scope],
    notes: Object.entries(SCOPE_TEXTS).filter(([bit]) => scopes.flags[scope] & bit).map(([, text]) => text),
  };
}

function detail({ line }) {
  const scopeChain = [];
  for (let scope = log.lines.scope[line]; scope >= 0 && scopeChain.length < 100; scope = analysis.scopes.parent[scope]) {
    scopeChain.push(describeScope(scope));
  }
  const described = describeLine(line, MOST_DETAIL);
  const lane = analysis.lanes[described.lane];
  return {
    ...described, scopeChain,
    text: log.text(line, MOST_DETAIL),
    file: log.files[log.lines.file[line]].name,
    program: lane.program, commandLine: lane.commandLine,
    meanings: described.tags.map((tag) => [tag, catalogue.tags.find((own) => own.tag === tag.replace(/[0-9]+$/, ''))?.meaning ?? '']),
    place: placeOf(line),
  };
}

// The row of a line among those that are shown, -1 if the filter leaves it out.
function placeOf(line) {
  return shown.indexOf(line);
}

function marks({ from, to }) {
  const { kind, line, time } = analysis.marks;
  const describe = (_, i) => {
    const mark = from + i;
    const { explanation, isOfLog } = MARKS[kind[mark]];
    const message = isOfLog ? explanation : log.message(line[mark], MOST_MESSAGE);
    return { kind: kind[mark], line: line[mark], time: time[mark], message };
  };
  return { from, marks: Array.from({ length: Math.min(to, kind.length) - from }, describe) };
}

function exportTrace() {
  const parts = [];
  for (const piece of writeChromeTrace(log, analysis, catalogue)) {
    parts.push(new Blob([piece]));
  }
  return { blob: new Blob(parts, { type: 'application/json' }) };
}

function live({ lines: recorded }) {
  addHits(recorded.map((line, i) => parseRecorded('live', hits.length + i + 1, line)).filter(Boolean));
  return { hits };
}

const ACTIONS = { open, close, filter, lines, detail, marks, exportTrace, live };

self.onmessage = async ({ data }) => {
  const { id, action } = data;
  try {
    const answer = await ACTIONS[action](data, (progress) => self.postMessage({ progress }));
    self.postMessage({ id, answer });
  } catch (error) {
    self.postMessage({ id, error: String(error?.message ?? error) });
  }
};
