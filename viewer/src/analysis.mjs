// What the page shows of the logs besides their lines: marks, and sentences about what is missing.
import { AXIS, setAllTimes } from './clock.mjs';
import { Columns } from './columns.mjs';
import { MARKS } from './mark-kinds.mjs';
import { SCOPE, findScopes } from './scopes.mjs';
import { COLUMN, TAG } from './trace-line.mjs';
import { KIND } from './trace-log.mjs';

const MARK = Object.fromEntries(MARKS.map(({ kind }, i) => [kind, i]));

function markOfLine(lines, i) {
  const tags = lines.tags[i];
  if (lines.kind[i] === KIND.full) {
    return MARK.full;
  }
  if (lines.kind[i] === KIND.queueStart) {
    return MARK.queued;
  }
  if (tags & TAG.EX) {
    return MARK.exception;
  }
  if (tags & TAG['##']) {
    return MARK.error;
  }
  if (tags & TAG['**']) {
    return MARK.errorCode;
  }
  return tags & TAG.WN ? MARK.warning : -1;
}

function markOfScope(flags, areEndsLogged) {
  if (flags & SCOPE.pending) {
    return MARK.fault;
  }
  if (flags & (SCOPE.handled | SCOPE.unhandled)) {
    return MARK.exception;
  }
  if (flags & SCOPE.noExit && areEndsLogged) {
    return MARK.noExit;
  }
  return flags & SCOPE.noEntry && areEndsLogged ? MARK.noEntry : -1;
}

function findMarks(log, scopes, changes, areScopesWhole) {
  const { lines } = log;
  const marks = new Columns({ kind: Uint8Array, line: Uint32Array, time: Float64Array, lane: Uint16Array });
  const add = (kind, line) => {
    const mark = marks.add();
    marks.kind[mark] = kind;
    marks.line[mark] = line;
    marks.time[mark] = lines.time[line];
    marks.lane[mark] = lines.lane[line];
  };
  for (let i = 0; i < lines.count; ++i) {
    const kind = markOfLine(lines, i);
    if (kind >= 0) {
      add(kind, i);
    }
  }
  for (let scope = 0; scope < scopes.count; ++scope) {
    const kind = markOfScope(scopes.flags[scope], areScopesWhole);
    if (kind >= 0) {
      add(kind, scopes.endLine[scope] >= 0 ? scopes.endLine[scope] : scopes.line[scope]);
    }
  }
  changes.forEach(({ line }) => add(MARK.clock, line));
  return sortedByTime(marks);
}

function sortedByTime(marks) {
  const order = Array.from({ length: marks.count }, (_, i) => i).sort((a, b) => marks.time[a] - marks.time[b] || a - b);
  const copy = marks.copy();
  return Object.fromEntries(
    Object.entries(copy).map(([name, values]) => [name, values.map((_, i) => values[order[i]])]),
  );
}

const MISSING = [
  [COLUMN.time, '0x2000000', 'The time of day is missing'],
  [COLUMN.date, '0x1000000', 'The date is missing'],
  [COLUMN.counter, '0x20000000', 'The microsecond counter is missing'],
  [COLUMN.process, '0x4000000', 'The process id is missing'],
  [COLUMN.thread, '0x8000000', 'The thread id is missing'],
];

function consequenceOf(column, columns, axis) {
  switch (column) {
    case COLUMN.time:
      return axis === AXIS.order
        ? 'the axis counts lines, and lengths of functions mean nothing'
        : axis === AXIS.sum
          ? 'the axis adds up the milliseconds between lines, which is exact only if one module wrote the file'
          : 'the axis shows the counter, which begins anywhere';
    case COLUMN.date:
      return columns & COLUMN.time ? 'the axis shows the time of day' : null;
    case COLUMN.counter:
      return columns & COLUMN.time ? 'within a second the order of lines is true, and their distances are not' : null;
    case COLUMN.process:
      return 'lines of different processes are shown as those of one';
    default:
      return 'lines of different threads are shown as those of one';
  }
}

function notesOnColumns(log, axis) {
  const notes = [];
  for (const file of log.files.filter(({ count }) => count > 0)) {
    for (const [column, bit, text] of MISSING) {
      const consequence = file.columns & column ? null : consequenceOf(column, file.columns, file.axis ?? axis);
      if (consequence) {
        notes.push(`${file.name}: ${text}: ${consequence} (LogOptions ${bit}).`);
      }
    }
  }
  return notes;
}

function notesOnScopes(finder) {
  if (!finder.hasEntries && !finder.hasExits) {
    return ['Begins and ends of functions are not logged, so there are no functions on the timeline (LogCategories 0xC00).'];
  }
  if (!finder.hasExits) {
    return ['Ends of functions are not logged: functions have no length (LogCategories 0x800).'];
  }
  return finder.hasEntries
    ? []
    : ['Begins of functions are not logged: a function begins its reported duration before its end (LogCategories 0x400).'];
}

function notesOnText(log) {
  const notes = [];
  for (const file of log.files) {
    const unknown = file.kinds[KIND.unknown] ?? 0;
    if (unknown > 0) {
      const [are, have] = unknown === 1 ? ['line is', 'has'] : ['lines are', 'have'];
      notes.push(`${file.name}: ${unknown} ${are} no line of a trace log: no prefix and no tag. The text ${have} a place in the list.`);
    }
    if (file.isUnfinished && log.lines.kind[file.first + file.count - 1] !== KIND.full) {
      notes.push(`${file.name}: The last line has no end yet: the file was still being written, or was cut off.`);
    }
    if (file.note) {
      notes.push(`${file.name}: ${file.note}`);
    }
  }
  return notes;
}

/** Everything about the log that needs all of its lines. */
export function analyse(log) {
  const { axis, isCommon, order, scopeOrder, changes } = setAllTimes(log);
  const { scopes, lanes, hasEntries, hasExits } = findScopes(log, scopeOrder);
  const marks = findMarks(log, scopes, changes, hasEntries && hasExits);
  const notes = [...notesOnColumns(log, axis), ...notesOnScopes({ hasEntries, hasExits }), ...notesOnText(log)];
  if (!isCommon) {
    notes.push('The files have no clock in common: each begins at 0.');
  }
  return { axis, order, scopes, lanes, marks, notes };
}
