// The lines of one or several trace logs, in typed arrays. The text itself stays where it was read; a line is decoded when it
// is shown or searched.
import { Columns, Names } from './columns.mjs';
import { TAG, nameOfEntry, parseExit, parseGlued, parseLine, parseLogsOwn } from './trace-line.mjs';

export const KIND = {
  line: 0, // has a prefix column or a tag
  continuation: 1, // more of the message before it
  queueStart: 2,
  queueEnd: 3,
  full: 4,
  empty: 5, // a line without message
  unknown: 6,
};

/** Notes of a function's end. */
export const EXIT = { pending: 1, handled: 2, unhandled: 4 };

const SCOPE_OR_HEADER = TAG['->'] | TAG['<-'] | TAG['++'];
const BLOCK_UNITS = 1 << 20;
const LINE_FEED = 10;
const CARRIAGE_RETURN = 13;

const LINE_COLUMNS = {
  file: Uint16Array,
  start: Uint32Array, // in the units of the file
  message: Uint32Array, // counted from start
  end: Uint32Array, // without the line end
  kind: Uint8Array,
  columns: Uint8Array,
  tags: Uint16Array,
  level: Uint8Array,
  marker: Uint8Array,
  day: Float64Array,
  seconds: Float64Array,
  counter: Float64Array,
  sincePrevious: Float64Array,
  process: Uint32Array,
  thread: Uint32Array,
  lineNumber: Uint32Array,
  name: Int32Array, // of a function's begin or end, -1 for none
  duration: Float64Array, // of a function's end in microseconds, -1 for none
  exit: Uint8Array,
  time: Float64Array, // microseconds on the common axis, see clock.mjs
  lane: Uint16Array,
  scope: Int32Array, // the innermost open scope, see scopes.mjs; -1 for none
};

function decodeUnits(units, start, end) {
  const bytes = new Uint8Array(units.buffer, units.byteOffset + start * 2, (end - start) * 2);
  return new TextDecoder('utf-16le', { ignoreBOM: true }).decode(bytes);
}

export class TraceLog {
  constructor() {
    this.files = [];
    this.lines = new Columns(LINE_COLUMNS);
    this.names = new Names();
  }

  /** units: the text of the file as code units, which the log keeps. progress: called with the part that is done, 0 to 1. */
  addFile(name, units, progress = () => {}) {
    const file = { name, units, first: this.lines.count, count: 0, columns: 0, commonColumns: -1, kinds: {}, headers: [] };
    this.files.push(file);
    for (let start = 0; start < units.length; ) {
      const end = this.#endOfBlock(units, start);
      this.#addBlock(file, decodeUnits(units, start, end), start, end === units.length);
      start = end;
      progress(start / units.length);
    }
    file.count = this.lines.count - file.first;
    this.#settleQueueStarts(file);
    file.isUnfinished = units.length > 0 && units[units.length - 1] !== LINE_FEED;
    return file;
  }

  #endOfBlock(units, start) {
    if (start + BLOCK_UNITS >= units.length) {
      return units.length;
    }
    const feed = units.lastIndexOf(LINE_FEED, start + BLOCK_UNITS - 1);
    if (feed >= start) {
      return feed + 1;
    }
    const next = units.indexOf(LINE_FEED, start + BLOCK_UNITS);
    return next < 0 ? units.length : next + 1;
  }

  #addBlock(file, text, offset) {
    for (let start = 0; start < text.length; ) {
      const feed = text.indexOf('\n', start);
      const next = feed < 0 ? text.length : feed + 1;
      let end = feed < 0 ? text.length : feed;
      while (end > start && text.charCodeAt(end - 1) === CARRIAGE_RETURN) {
        --end;
      }
      this.#addText(file, text, start, end, offset);
      start = next;
    }
  }

  // One line of the file, which holds several of the log if some have no line end.
  #addText(file, text, start, end, offset) {
    for (;;) {
      const isOwn = text.startsWith('--- ', start) || text.startsWith('*** ', start);
      const own = isOwn ? parseLogsOwn(text.slice(start, end)) : null;
      if (own) {
        const ownEnd = own.length ? start + own.length : end;
        this.#addOwn(file, own.kind, start + offset, ownEnd + offset);
        if (ownEnd === end) {
          return;
        }
        start = ownEnd;
        continue;
      }
      const line = parseLine(text, start, end);
      const glued = line.message < end && (line.columns || line.tags) ? parseGlued(text, line, end) : null;
      this.#add(file, line, text, start, glued ? line.message : end, offset);
      if (!glued) {
        return;
      }
      start = line.message;
    }
  }

  #addOwn(file, kind, start, end) {
    const { lines } = this;
    const i = this.#place(file, KIND[kind], start, end);
    lines.message[i] = 0;
    if (i > file.first) {
      this.#inherit(i, i - 1);
    }
  }

  #place(file, kind, start, end) {
    const { lines } = this;
    const i = lines.add();
    lines.file[i] = this.files.length - 1;
    lines.start[i] = start;
    lines.end[i] = end;
    lines.kind[i] = kind;
    lines.name[i] = -1;
    lines.duration[i] = -1;
    lines.scope[i] = -1;
    file.kinds[kind] = (file.kinds[kind] ?? 0) + 1;
    return i;
  }

  // What the prefix of a different line says holds for this one, which has none.
  #inherit(i, other) {
    const { lines } = this;
    for (const name of ['columns', 'day', 'seconds', 'counter', 'process', 'thread']) {
      lines[name][i] = lines[name][other];
    }
  }

  // The mark before queued lines belongs to them, and not to what a different process may have written before it.
  #settleQueueStarts(file) {
    for (let i = file.first; i < this.lines.count - 1; ++i) {
      if (this.lines.kind[i] === KIND.queueStart) {
        this.#inherit(i, i + 1);
      }
    }
  }

  #add(file, line, text, start, end, offset) {
    const { lines } = this;
    const isPlain = line.columns === 0 && line.tags === 0;
    let kind = KIND.line;
    if (isPlain) {
      kind = end === start ? KIND.empty : this.#kindOfPlain(file);
    } else if (line.message >= end) {
      kind = KIND.empty;
    }
    const i = this.#place(file, kind, start + offset, end + offset);
    lines.message[i] = Math.min(line.message, end) - start;
    if (isPlain) {
      if (i > file.first) {
        this.#inherit(i, i - 1);
      }
      return;
    }
    file.columns |= line.columns;
    file.commonColumns &= line.columns;
    file.isCompact ||= line.isCompact;
    this.#store(line, i);
    if (line.tags & SCOPE_OR_HEADER) {
      this.#addScopeOrHeader(file, line, text.slice(lines.message[i] + start, end), i);
    }
  }

  // One by one: a loop over names takes twice the time of parsing.
  #store(line, i) {
    const { lines } = this;
    lines.columns[i] = line.columns;
    lines.tags[i] = line.tags;
    lines.level[i] = line.level;
    lines.marker[i] = line.marker;
    lines.day[i] = line.day;
    lines.seconds[i] = line.seconds;
    lines.counter[i] = line.counter;
    lines.sincePrevious[i] = line.sincePrevious;
    lines.process[i] = line.process;
    lines.thread[i] = line.thread;
    lines.lineNumber[i] = line.lineNumber;
  }

  // Text without prefix or tag continues a message if other lines of the file have them.
  #kindOfPlain(file) {
    return this.lines.count > file.first && file.commonColumns !== -1 ? KIND.continuation : KIND.unknown;
  }

  #addScopeOrHeader(file, line, message, i) {
    const { lines } = this;
    if (line.tags & TAG['->']) {
      lines.name[i] = this.names.numberOf(nameOfEntry(message, (line.tags & TAG.IP) !== 0));
    } else if (line.tags & TAG['<-']) {
      const exit = parseExit(message);
      lines.name[i] = this.names.numberOf(exit.name);
      lines.duration[i] = exit.duration;
      lines.exit[i] =
        (exit.isPending && EXIT.pending) | (exit.isHandled && EXIT.handled) | (exit.isUnhandled && EXIT.unhandled);
    } else if (line.tags & TAG['++']) {
      this.#addHeader(file, message, i);
    }
  }

  #addHeader(file, message, i) {
    const field = /^(Module File Name|Command Line|File Version|Process ID|Built on|Log File Name): (.*)$/.exec(message);
    if (field?.[1] === 'Module File Name') {
      file.headers.push({ line: i, modules: 0 });
    }
    const header = file.headers.at(-1);
    if (header && field) {
      header[field[1]] = field[2].trim();
    } else if (header) {
      ++header.modules;
    }
  }

  /** The text of a line, at most `most` characters of it. */
  text(i, most = Infinity) {
    const start = this.lines.start[i];
    return decodeUnits(this.files[this.lines.file[i]].units, start, Math.min(this.lines.end[i], start + most));
  }

  /** The message of a line: without prefix, tags and indentation. */
  message(i, most = Infinity) {
    const start = this.lines.start[i] + this.lines.message[i];
    return decodeUnits(this.files[this.lines.file[i]].units, start, Math.min(this.lines.end[i], start + most));
  }

  countOfKind(kind) {
    return this.files.reduce((sum, file) => sum + (file.kinds[kind] ?? 0), 0);
  }
}

