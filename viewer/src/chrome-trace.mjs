// Writes scopes and marks as Chrome trace events, which Perfetto and the tracing pages of browsers open.
import { MARKS } from './mark-kinds.mjs';
import { AXIS } from './clock.mjs';
import { moduleOf } from './filter.mjs';
import { SCOPE } from './scopes.mjs';

const CHUNK_EVENTS = 10000;
const MOST_MESSAGE = 1000;

function noteOf(flags) {
  return Object.entries(SCOPE)
    .filter(([, bit]) => flags & bit)
    .map(([name]) => name)
    .join(', ');
}

function* metadataOf(lanes, files) {
  const named = new Set();
  for (const [number, lane] of lanes.entries()) {
    const { pid, tid } = idsOf(lane, number);
    if (!named.has(pid)) {
      named.add(pid);
      const name = (lane.program ?? files[lane.file].name).split(/[\\/]/).pop();
      yield { name: 'process_name', ph: 'M', pid, tid, args: { name } };
    }
    const name = lane.thread < 0 ? 'all threads' : `thread 0x${lane.thread.toString(16).toUpperCase().padStart(4, '0')}`;
    yield { name: 'thread_name', ph: 'M', pid, tid, args: { name } };
  }
}

function idsOf(lane, number) {
  return { pid: lane.process >= 0 ? lane.process : 1000000 + lane.file, tid: lane.thread >= 0 ? lane.thread : number };
}

function* eventsOf(log, analysis, catalogue) {
  const { scopes, lanes, marks, axis } = analysis;
  // A unit of lines becomes a microsecond.
  const first = log.lines.count === 0 ? 0 : axis === AXIS.wall ? 0 : log.lines.time[analysis.order[0]];
  yield* metadataOf(lanes, log.files);
  for (let scope = 0; scope < scopes.count; ++scope) {
    const name = log.names.list[scopes.name[scope]];
    const lane = lanes[scopes.lane[scope]];
    const args = { line: log.lines.lineNumber[scopes.line[scope]] };
    const note = noteOf(scopes.flags[scope]);
    if (note) {
      args.note = note;
    }
    if (scopes.duration[scope] >= 0) {
      args.reportedDurationUs = scopes.duration[scope];
    }
    yield {
      name, cat: moduleOf(name, catalogue), ph: 'X', ts: scopes.start[scope] - first,
      dur: scopes.end[scope] - scopes.start[scope], ...idsOf(lane, scopes.lane[scope]), args,
    };
  }
  for (let mark = 0; mark < marks.kind.length; ++mark) {
    const { kind, text } = MARKS[marks.kind[mark]];
    yield {
      name: text, cat: kind, ph: 'i', s: 't', ts: marks.time[mark] - first,
      ...idsOf(lanes[marks.lane[mark]], marks.lane[mark]),
      args: { message: log.message(marks.line[mark], MOST_MESSAGE) },
    };
  }
}

/** The file, in pieces. */
export function* writeChromeTrace(log, analysis, catalogue) {
  yield '{"displayTimeUnit":"ms","traceEvents":[\n';
  let pieces = [];
  let separator = '';
  for (const event of eventsOf(log, analysis, catalogue)) {
    pieces.push(separator, JSON.stringify(event));
    separator = ',\n';
    if (pieces.length > CHUNK_EVENTS) {
      yield pieces.join('');
      pieces = [];
    }
  }
  yield pieces.join('') + '\n]}\n';
}
