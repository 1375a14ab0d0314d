// Parses one line of a trace log: the columns of its prefix in their fixed order, its tags, and what remains as message.

/** Bits of the columns that a prefix can have. */
export const COLUMN = {
  date: 1,
  time: 2,
  counter: 4,
  sincePrevious: 8,
  process: 16,
  thread: 32,
  lineNumber: 64,
};

/** Tags in the order in which a line has them. The bit of a tag is its place here. */
export const TAGS = ['EX', '##', 'WN', '++', 'I', 'ST', 'DB', '->', '<-', '**', 'LK', 'IP', 'M'];
export const TAG = Object.fromEntries(TAGS.map((name, i) => [name, 1 << i]));

const TAG_PLACES = new Map(TAGS.map((name, i) => [name, i]));
// Date, time and counter without separators.
const COMPACT = /(?:((?:19|20|21)\d\d)(0[1-9]|1[0-2])([0-3]\d))?(?:([0-2]\d)([0-5]\d)([0-6]\d))?(?::(\d{10}) )?/y;
const SINCE_PREVIOUS = /\((-?\d{6,}) ms\) /y;
const PROCESS = /\[(\d+)\] /y;
const THREAD = /\{tid: 0x([0-9A-F]{4,})\} /y;
// With the counter: the number of the source line, or blanks in its place.
const LINE_NUMBER = /(\d{4,}): | {6}/y;
const CLOCKS = COLUMN.date | COLUMN.time | COLUMN.counter;

const PARENTHESIS = 40;
const CLOSING = 41;
const BLANK = 32;
const SLASH = 47;
const ZERO = 48;
const COLON = 58;
const BRACKET = 91;
const BRACE = 123;

function matchAt(expression, text, start) {
  expression.lastIndex = start;
  return expression.exec(text);
}

// The number of `count` digits at a position, -1 if there are none. Code units instead of an expression: half of the time
// that reading a log takes would go into cutting texts.
function digitsAt(text, position, count) {
  let number = 0;
  for (let i = position; i < position + count; ++i) {
    const digit = text.charCodeAt(i) - ZERO;
    if (!(digit >= 0 && digit <= 9)) {
      return -1;
    }
    number = number * 10 + digit;
  }
  return number;
}

// Three numbers between two separators, and a blank behind them: date or time; null if they are not there.
function triadAt(text, position, firstCount, separator) {
  const second = position + firstCount + 1;
  if (text.charCodeAt(second - 1) !== separator || text.charCodeAt(second + 2) !== separator || text.charCodeAt(second + 5) !== BLANK) {
    return null;
  }
  const triad = [digitsAt(text, position, firstCount), digitsAt(text, second, 2), digitsAt(text, second + 3, 2)];
  return triad.every((number) => number >= 0) ? triad : null;
}

let lastDate = [0, 0, 0];
let lastDay = 0;

function dayOf(date) {
  if (date[2] !== lastDate[2] || date[1] !== lastDate[1] || date[0] !== lastDate[0]) {
    lastDate = date;
    lastDay = Date.UTC(date[0], date[1] - 1, date[2]) / 86400000;
  }
  return lastDay;
}

function setDate(line, date) {
  line.columns |= COLUMN.date;
  line.day = dayOf(date);
}

function setTime(line, [hours, minutes, seconds]) {
  line.columns |= COLUMN.time;
  line.seconds = hours * 3600 + minutes * 60 + seconds;
}

function setCounter(line, counter) {
  line.columns |= COLUMN.counter;
  line.counter = counter;
}

function parseSpacedClocks(text, start, line) {
  let position = start;
  const date = triadAt(text, position, 4, SLASH);
  if (date) {
    setDate(line, date);
    position += 11;
  }
  const time = triadAt(text, position, 2, COLON);
  if (time) {
    setTime(line, time);
    position += 9;
  }
  const counter = text.charCodeAt(position + 10) === BLANK ? digitsAt(text, position, 10) : -1;
  if (counter >= 0) {
    setCounter(line, counter);
    position += 11;
  }
  return position;
}

function parseCompactClocks(text, start, line) {
  const match = matchAt(COMPACT, text, start);
  if (match[1] !== undefined) {
    setDate(line, [+match[1], +match[2], +match[3]]);
  }
  if (match[4] !== undefined) {
    setTime(line, [+match[4], +match[5], +match[6]]);
  }
  if (match[7] !== undefined) {
    setCounter(line, +match[7]);
  }
  line.isCompact = match[0] !== '';
  return start + match[0].length;
}

function parseClocks(text, start, line) {
  const position = parseSpacedClocks(text, start, line);
  const first = text.charCodeAt(start);
  const isPossible = position === start && ((first >= ZERO && first <= ZERO + 9) || first === COLON);
  return isPossible ? parseCompactClocks(text, start, line) : position;
}

function parseIdentities(text, start, line) {
  let position = start;
  let match;
  if (text.charCodeAt(position) === PARENTHESIS && (match = matchAt(SINCE_PREVIOUS, text, position))) {
    line.columns |= COLUMN.sincePrevious;
    line.sincePrevious = +match[1];
    position += match[0].length;
  }
  if (text.charCodeAt(position) === BRACKET && (match = matchAt(PROCESS, text, position))) {
    line.columns |= COLUMN.process;
    line.process = +match[1];
    position += match[0].length;
  }
  if (text.charCodeAt(position) === BRACE && (match = matchAt(THREAD, text, position))) {
    line.columns |= COLUMN.thread;
    line.thread = parseInt(match[1], 16);
    position += match[0].length;
  }
  return position;
}

function parsePrefix(text, start, line) {
  let position = parseIdentities(text, parseClocks(text, start, line), line);
  if (line.columns & COLUMN.counter) {
    const number = matchAt(LINE_NUMBER, text, position);
    if (number) {
      line.columns |= COLUMN.lineNumber;
      line.lineNumber = number[1] === undefined ? 0 : +number[1];
      position += number[0].length;
    }
  }
  return position;
}

// The place and number of the tag at a position: "(I7) " is [4, 7]; null if there is none.
function tagAt(text, position) {
  if (text.charCodeAt(position) !== PARENTHESIS) {
    return null;
  }
  let end = position + 2;
  while (end < position + 4 && text.charCodeAt(end) !== CLOSING) {
    ++end;
  }
  if (text.charCodeAt(end) !== CLOSING || text.charCodeAt(end + 1) !== BLANK) {
    return null;
  }
  const name = text.slice(position + 1, end);
  const place = TAG_PLACES.get(name);
  if (place !== undefined && name.length === 2) {
    return { place, number: 0, length: end + 2 - position };
  }
  const numbered = /^([IM])(\d{1,2})$/.exec(name);
  return numbered && +numbered[2] < 16
    ? { place: TAG_PLACES.get(numbered[1]), number: +numbered[2], length: end + 2 - position }
    : null;
}

function parseTags(text, position, end, line) {
  let last = -1;
  for (let tag = tagAt(text, position); tag && tag.place > last && position + tag.length <= end; tag = tagAt(text, position)) {
    last = tag.place;
    line.tags |= 1 << tag.place;
    if (TAGS[tag.place] === 'I') {
      line.level = tag.number;
    } else if (TAGS[tag.place] === 'M') {
      line.marker = tag.number;
    }
    position += tag.length;
  }
  return position;
}

/**
 * The line in text[start, end), without its line end. `message` is the position behind prefix, tags and indentation; the
 * other members are meaningful only if their column or tag is there. A line that has neither is a plain text.
 */
export function parseLine(text, start, end) {
  const line = {
    columns: 0, tags: 0, isCompact: false, day: 0, seconds: 0, counter: 0, sincePrevious: 0, process: 0, thread: 0,
    lineNumber: 0, level: 0, marker: 0, indentation: 0, message: start,
  };
  let position = parseTags(text, parsePrefix(text, start, line), end, line);
  const indented = position;
  while (position < end && text.charCodeAt(position) === BLANK) {
    ++position;
  }
  line.indentation = position - indented;
  line.message = Math.min(position, end);
  return line;
}

/**
 * Whether the message of `line` is a whole line by itself: that of a line without message has no line end, so the next one
 * follows on it. Only a prefix with a clock, or a tag, shows that.
 */
export function parseGlued(text, line, end) {
  const next = parseLine(text, line.message, end);
  const isLike = next.columns === line.columns && next.isCompact === line.isCompact;
  const isShown = (next.columns & CLOCKS) !== 0 || (line.tags !== 0 && next.tags !== 0);
  return isLike && isShown ? next : null;
}

const PENDING = '   *** UNHANDLED EXCEPTION PENDING ***';
const EXIT_SUFFIX = /(?: \(Dur: (-?\d+) us\) )?(\((?:handled exception|\*unhandled exception\*)\) )?$/;

/** The parts of a function's end: its name, microseconds (-1 if they are missing) and how an exception left it. */
export function parseExit(message) {
  const match = EXIT_SUFFIX.exec(message);
  const name = message.slice(0, match.index);
  const isPending = name.endsWith(PENDING);
  return {
    name: isPending ? name.slice(0, -PENDING.length) : name,
    duration: match[1] === undefined ? -1 : +match[1],
    isPending,
    isHandled: match[2] === '(handled exception) ',
    isUnhandled: match[2] === '(*unhandled exception*) ',
  };
}

/** The name in a function's begin, whose tag (IP) says that parameters follow it. */
export function nameOfEntry(message, hasParameters) {
  const end = hasParameters ? message.indexOf(', ') : -1;
  return end < 0 ? message : message.slice(0, end);
}

/** What a line that the log itself writes says: {kind, module}; null for other lines. */
export function parseLogsOwn(text) {
  if (text === '--- Queued Lines Start ---') {
    return { kind: 'queueStart' };
  }
  if (text === '--- Queued Lines End ---') {
    return { kind: 'queueEnd' };
  }
  const full = /^\*\*\* FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR (.*?) MODULE \*\*\*/.exec(text);
  return full ? { kind: 'full', module: full[1], length: full[0].length } : null;
}
