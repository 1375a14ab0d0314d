// Finds the function scopes: a begin and its end, in each thread of each process, nested.
import { Columns } from './columns.mjs';
import { COLUMN, TAG } from './trace-line.mjs';
import { EXIT, KIND } from './trace-log.mjs';

/** What is remarkable about a scope. */
export const SCOPE = { noExit: 1, noEntry: 2, pending: 4, handled: 8, unhandled: 16, errorCode: 32, isOpen: 64 };

const SCOPE_COLUMNS = {
  start: Float64Array,
  end: Float64Array,
  duration: Float64Array, // as its end reports it, -1 if it does not
  name: Int32Array,
  lane: Uint16Array,
  depth: Uint16Array,
  flags: Uint8Array,
  line: Uint32Array, // of the begin, or of the end if there is no begin
  endLine: Int32Array, // -1 if there is none
  parent: Int32Array,
};

const MOST_DEPTH = 0xffff;
const MOST_LANES = 0xffff;

// A thread of a process, or as much of that as the prefix says.
class Lanes {
  constructor(log) {
    this.log = log;
    this.list = [];
    this.byKey = new Map();
    this.soleProcesses = log.files.map(soleProcess);
  }

  of(i) {
    const { lines } = this.log;
    const fileNumber = lines.file[i];
    const columns = lines.columns[i];
    const hasProcess = (columns & COLUMN.process) !== 0;
    const hasThread = (columns & COLUMN.thread) !== 0;
    const process = hasProcess ? lines.process[i] : this.soleProcesses[fileNumber];
    const thread = hasThread ? lines.thread[i] : -1;
    const key = (process >= 0 ? process : `file ${fileNumber}`) + ' ' + thread;
    let lane = this.byKey.get(key);
    if (lane === undefined) {
      lane = Math.min(this.list.length, MOST_LANES);
      this.byKey.set(key, lane);
      this.list.push({ process, thread, file: fileNumber, hasThread, lines: 0, rows: 0, first: i, program: null });
    }
    return lane;
  }
}

// Of a file whose lines lack it: the process of the header block, if there is only one.
function soleProcess(file) {
  const processes = new Set(file.headers.map((header) => Number(/[0-9]+/.exec(header['Process ID'] ?? '') ?? -1)));
  return processes.size === 1 ? [...processes][0] : -1;
}

class ScopeFinder {
  constructor(log, order) {
    this.log = log;
    this.order = order;
    this.lanes = new Lanes(log);
    this.headers = new Map(log.files.flatMap(({ headers }) => headers.map((header) => [header.line, header])));
    this.scopes = new Columns(SCOPE_COLUMNS);
    this.stacks = []; // of each lane; a place can be -1 if threads are not told apart
    this.lastClosed = []; // of each lane: the scope to which a following error line belongs
    this.hasExits = hasTag(log, TAG['<-']);
    this.hasEntries = hasTag(log, TAG['->']);
  }

  find() {
    const { lines } = this.log;
    for (const i of this.order) {
      const lane = this.lanes.of(i);
      const facts = this.lanes.list[lane];
      ++facts.lines;
      lines.lane[i] = lane;
      const stack = (this.stacks[lane] ??= []);
      if (lines.kind[i] === KIND.line && lines.tags[i] & TAG['++']) {
        this.#startProcess(i, lane);
      }
      if (lines.name[i] < 0) {
        this.#addToScope(i, lane, stack);
      } else if (lines.tags[i] & TAG['->']) {
        this.#enter(i, lane, stack);
      } else {
        this.#leave(i, lane, stack);
      }
    }
    this.#closeAll();
    this.#nestAgain();
    const { scopes, hasEntries, hasExits } = this;
    return { scopes, lanes: this.lanes.list, hasEntries, hasExits };
  }

  // A header block begins a new process: what is open in one of the same number has no end.
  #startProcess(i, lane) {
    const { process, file } = this.lanes.list[lane];
    const header = this.headers.get(i);
    if (!header) {
      return;
    }
    this.lanes.list.forEach((other, number) => {
      if (other.process === process && (process >= 0 || other.file === file)) {
        this.#abandon(number, this.stacks[number] ?? [], 0, this.log.lines.time[i]);
        other.program ??= header['Module File Name']?.replace(/ \([0-9]+ bytes\)$/, '');
        other.commandLine ??= header['Command Line'];
      }
    });
  }

  #addToScope(i, lane, stack) {
    const { lines } = this.log;
    lines.scope[i] = topOf(stack);
    if (lines.tags[i] & TAG['**'] && this.lastClosed[lane] !== undefined) {
      lines.scope[i] = this.lastClosed[lane];
      this.scopes.flags[this.lastClosed[lane]] |= SCOPE.errorCode;
    }
  }

  #add(i, lane, depth, parent) {
    const { scopes } = this;
    const { lines } = this.log;
    const scope = scopes.add();
    scopes.start[scope] = scopes.end[scope] = lines.time[i];
    scopes.duration[scope] = -1;
    scopes.name[scope] = lines.name[i];
    scopes.lane[scope] = lane;
    scopes.depth[scope] = Math.min(depth, MOST_DEPTH);
    scopes.line[scope] = i;
    scopes.endLine[scope] = -1;
    scopes.parent[scope] = parent;
    this.lanes.list[lane].rows = Math.max(this.lanes.list[lane].rows, depth + 1);
    lines.scope[i] = scope;
    return scope;
  }

  #enter(i, lane, stack) {
    if (!this.hasExits) {
      // Without ends nothing tells how long a function lasts: each begin is a mark of its own.
      this.#add(i, lane, 0, -1);
      return;
    }
    const { hasThread } = this.lanes.list[lane];
    const free = hasThread ? stack.length : freePlace(stack);
    stack[free] = this.#add(i, lane, free, free > 0 ? stack[free - 1] : -1);
    this.lastClosed[lane] = undefined;
  }

  #leave(i, lane, stack) {
    const { lines } = this.log;
    let place = stack.length - 1;
    while (place >= 0 && (stack[place] < 0 || this.scopes.name[stack[place]] !== lines.name[i])) {
      --place;
    }
    if (place < 0) {
      this.#addEndAlone(i, lane, stack);
      return;
    }
    if (this.lanes.list[lane].hasThread) {
      this.#abandon(lane, stack, place + 1, lines.time[i]);
    }
    const scope = stack[place];
    this.#close(scope, i);
    stack[place] = -1;
    while (stack.length && stack.at(-1) < 0) {
      stack.pop();
    }
    this.lastClosed[lane] = scope;
  }

  #close(scope, i) {
    const { scopes } = this;
    const { lines } = this.log;
    scopes.end[scope] = Math.max(scopes.start[scope], lines.time[i]);
    scopes.duration[scope] = lines.duration[i];
    scopes.endLine[scope] = i;
    scopes.flags[scope] |= flagsOfExit(lines.exit[i]);
    lines.scope[i] = scope;
  }

  // An end whose begin is not in the log: the log begins later, or begins are not logged.
  #addEndAlone(i, lane, stack) {
    const { scopes } = this;
    const { lines } = this.log;
    const scope = this.#add(i, lane, stack.length, topOf(stack));
    scopes.flags[scope] |= SCOPE.noEntry;
    this.#close(scope, i);
    scopes.start[scope] = lines.time[i] - Math.max(0, lines.duration[i]);
    this.lanes.list[lane].isIncomplete = true;
    this.lastClosed[lane] = scope;
  }

  #abandon(lane, stack, from, time) {
    for (let place = from; place < stack.length; ++place) {
      if (stack[place] >= 0) {
        this.scopes.flags[stack[place]] |= SCOPE.noExit;
        this.scopes.end[stack[place]] = Math.max(this.scopes.start[stack[place]], time);
      }
    }
    stack.length = Math.min(stack.length, from);
  }

  // What is open at the end of the log lasts as long as its lane.
  #closeAll() {
    const last = this.lanes.list.map(() => -Infinity);
    const { lines } = this.log;
    for (let i = 0; i < lines.count; ++i) {
      last[lines.lane[i]] = Math.max(last[lines.lane[i]], lines.time[i]);
    }
    this.stacks.forEach((stack, lane) => {
      for (const scope of stack) {
        if (scope >= 0) {
          this.scopes.flags[scope] |= SCOPE.isOpen;
        }
      }
      this.#abandon(lane, stack, 0, last[lane]);
    });
  }

  // Lanes with ends alone: their depths follow from the times.
  #nestAgain() {
    const { scopes } = this;
    const byLane = new Map();
    for (let scope = 0; scope < scopes.count; ++scope) {
      const lane = this.lanes.list[scopes.lane[scope]];
      if (lane.isIncomplete && lane.hasThread) {
        (byLane.get(lane) ?? byLane.set(lane, []).get(lane)).push(scope);
      }
    }
    for (const [lane, own] of byLane) {
      this.#nestLane(lane, own);
    }
  }

  #nestLane(lane, own) {
    const { scopes } = this;
    own.sort((a, b) => scopes.start[a] - scopes.start[b] || scopes.end[b] - scopes.end[a] || a - b);
    const stack = [];
    lane.rows = 0;
    for (const scope of own) {
      while (stack.length && scopes.end[stack.at(-1)] <= scopes.start[scope]) {
        stack.pop();
      }
      scopes.depth[scope] = Math.min(stack.length, MOST_DEPTH);
      scopes.parent[scope] = topOf(stack);
      stack.push(scope);
      lane.rows = Math.max(lane.rows, stack.length);
    }
  }
}

function hasTag(log, tag) {
  const { tags, count } = log.lines;
  for (let i = 0; i < count; ++i) {
    if (tags[i] & tag) {
      return true;
    }
  }
  return false;
}

function freePlace(stack) {
  const free = stack.indexOf(-1);
  return free < 0 ? stack.length : free;
}

function topOf(stack) {
  for (let place = stack.length - 1; place >= 0; --place) {
    if (stack[place] >= 0) {
      return stack[place];
    }
  }
  return -1;
}

function flagsOfExit(exit) {
  return (exit & EXIT.pending && SCOPE.pending) | (exit & EXIT.handled && SCOPE.handled) |
    (exit & EXIT.unhandled && SCOPE.unhandled);
}

/** order: the lines by time. The scopes and lanes; lane and scope of each line are set. */
export function findScopes(log, order) {
  return new ScopeFinder(log, order).find();
}
