// Puts the lines of all files on one axis. Which one depends on the columns that the prefixes have.
import { COLUMN } from './trace-line.mjs';

export const AXIS = {
  wall: 'wall', // microseconds since 1970, local time
  day: 'day', // microseconds of a day: the date is missing
  counter: 'counter', // microseconds of the counter
  sum: 'sum', // milliseconds between lines, added up
  order: 'order', // the number of the line
};

const SECOND = 1e6;
const DAY = 86400 * SECOND;
const COUNTER_MODULUS = 1e10;
// The wall clock shows whole seconds, so it differs from the counter by up to one. More is a change of the clock.
const CLOCK_CHANGE = 2.5 * SECOND;
const STEPS_PER_LINE = 8;

function axisOf(columns) {
  if (columns & COLUMN.time) {
    return columns & COLUMN.date ? AXIS.wall : AXIS.day;
  }
  if (columns & COLUMN.counter) {
    return AXIS.counter;
  }
  return columns & COLUMN.sincePrevious ? AXIS.sum : AXIS.order;
}

// The counter without its jumps to 0. A line that waited in memory may be older than the one before it.
function unwrapCounters(lines, file) {
  let turns = 0;
  let previous = -1;
  for (let i = file.first; i < file.first + file.count; ++i) {
    if (lines.columns[i] & COLUMN.counter) {
      const counter = lines.counter[i];
      if (previous >= 0 && previous - counter > COUNTER_MODULUS / 2) {
        ++turns;
      } else if (previous >= 0 && counter - previous > COUNTER_MODULUS / 2) {
        --turns;
      }
      previous = counter;
      lines.counter[i] = counter + turns * COUNTER_MODULUS;
    }
  }
}

// Wall clock of a line in microseconds; without a date the days are counted at midnight.
function makeWallClock(lines, hasDate) {
  let day = 0;
  let previous = -1;
  return (i) => {
    if (hasDate) {
      return lines.day[i] * DAY + lines.seconds[i] * SECOND;
    }
    if (previous - lines.seconds[i] > 43200) {
      ++day;
    }
    previous = lines.seconds[i];
    return day * DAY + lines.seconds[i] * SECOND;
  };
}

// Wall clock minus counter, from the lines before the first change of the clock; NaN if no line has both.
function offsetOf(lines, file, wallOf) {
  let offset = NaN;
  for (let i = file.first; i < file.first + file.count; ++i) {
    if (lines.columns[i] & COLUMN.counter && lines.columns[i] & COLUMN.time) {
      const own = wallOf(i) - lines.counter[i];
      if (Number.isNaN(offset)) {
        offset = own;
      } else if (Math.abs(own - offset) > CLOCK_CHANGE) {
        return offset;
      } else {
        offset = Math.max(offset, own);
      }
    }
  }
  return offset;
}

// The counters of one computer have one scale, so its files get one offset.
function shareOffset(file, offsets) {
  for (const shared of offsets) {
    const turns = Math.round((file.offset - shared) / COUNTER_MODULUS);
    if (Math.abs(file.offset - shared - turns * COUNTER_MODULUS) < CLOCK_CHANGE) {
      file.offset = shared;
      return turns;
    }
  }
  offsets.push(file.offset);
  return 0;
}

function timeByCounter(lines, file, turns, wallOf, changes) {
  let regime = 0;
  let last = file.offset;
  for (let i = file.first; i < file.first + file.count; ++i) {
    if (lines.columns[i] & COLUMN.counter) {
      last = lines.counter[i] + turns * COUNTER_MODULUS + file.offset;
      lines.time[i] = last;
      if (lines.columns[i] & COLUMN.time) {
        const difference = wallOf(i) - last;
        if (Math.abs(difference - regime) > CLOCK_CHANGE) {
          changes.push({ line: i, seconds: Math.round((difference - regime) / SECOND) });
          regime = difference;
        }
      }
    } else {
      lines.time[i] = last;
    }
  }
}

// The lines of a second are spread evenly over it: their order is true, their distances are not.
function timeBySeconds(lines, file, wallOf, changes) {
  const end = file.first + file.count;
  let previous = -Infinity;
  for (let i = file.first; i < end; ) {
    const wall = wallOf(i);
    let next = i + 1;
    while (next < end && lines.seconds[next] === lines.seconds[i] && lines.day[next] === lines.day[i]) {
      ++next;
    }
    if (previous - wall > CLOCK_CHANGE) {
      changes.push({ line: i, seconds: Math.round((wall - previous) / SECOND) });
    }
    previous = wall;
    for (let k = i; k < next; ++k) {
      lines.time[k] = wall + ((k - i) / (next - i)) * SECOND;
    }
    i = next;
  }
}

function timeBySums(lines, file) {
  let time = 0;
  for (let i = file.first; i < file.first + file.count; ++i) {
    // The first line of a module counts from the start of the computer.
    const milliseconds = lines.sincePrevious[i];
    time += Math.max(1, (milliseconds < 3.6e6 ? Math.max(0, milliseconds) : 0) * 1000);
    lines.time[i] = time;
  }
}

function timeByOrder(lines, file) {
  for (let i = file.first; i < file.first + file.count; ++i) {
    lines.time[i] = i - file.first;
  }
}

function setTimes(lines, file, offsets, changes) {
  const hasDate = (file.columns & COLUMN.date) !== 0;
  if (file.axis === AXIS.counter) {
    file.offset = 0;
    timeByCounter(lines, file, 0, null, changes);
  } else if (file.axis === AXIS.wall || file.axis === AXIS.day) {
    if (file.columns & COLUMN.counter) {
      file.offset = offsetOf(lines, file, makeWallClock(lines, hasDate));
      const turns = shareOffset(file, offsets);
      timeByCounter(lines, file, turns, makeWallClock(lines, hasDate), changes);
    } else {
      timeBySeconds(lines, file, makeWallClock(lines, hasDate), changes);
    }
  } else if (file.axis === AXIS.sum) {
    timeBySums(lines, file);
  } else {
    timeByOrder(lines, file);
  }
}

function numbersOf(lines) {
  const numbers = new Uint32Array(lines.count);
  for (let i = 0; i < numbers.length; ++i) {
    numbers[i] = i;
  }
  return numbers;
}

// Moves each line to its place; false after too many steps, when the lines are not nearly in order.
function sortNearlySorted(order, times) {
  let steps = order.length * STEPS_PER_LINE;
  for (let i = 1; i < order.length; ++i) {
    const line = order[i];
    let place = i;
    for (; place > 0 && times[order[place - 1]] > times[line]; --place) {
      order[place] = order[place - 1];
      --steps;
    }
    order[place] = line;
    if (steps < 0) {
      return false;
    }
  }
  return true;
}

function sortedByTime({ count, time }) {
  const order = numbersOf({ count });
  return sortNearlySorted(order, time) ? order : order.sort((a, b) => time[a] - time[b] || a - b);
}

// The order of the lines in the list: that of the file, or by time if there are several files.
function orderOf(log) {
  return log.files.length > 1 ? sortedByTime(log.lines) : numbersOf(log.lines);
}

// The order in which functions begin and end. Lines that waited in memory are older than their place in the file tells, which
// only the counter shows exactly.
function scopeOrderOf(log, order) {
  const hasCounters = log.files.length > 0 && log.files.every(({ commonColumns }) => commonColumns & COLUMN.counter);
  return hasCounters && log.files.length === 1 ? sortedByTime(log.lines) : order;
}

/** Sets the time of every line. Returns the axis, the orders of the lines, and the changes of the wall clock. */
export function setAllTimes(log) {
  const offsets = [];
  const changes = [];
  for (const file of log.files) {
    file.axis = axisOf(file.columns);
    unwrapCounters(log.lines, file);
    setTimes(log.lines, file, offsets, changes);
  }
  const axes = new Set(log.files.map(({ axis }) => axis));
  const isCommon = axes.size <= 1;
  if (!isCommon) {
    // No common clock: each file begins at 0.
    for (const file of log.files) {
      const first = firstTime(log.lines, file);
      for (let i = file.first; i < file.first + file.count; ++i) {
        log.lines.time[i] -= first;
      }
    }
  }
  const axis = isCommon ? [...axes][0] ?? AXIS.order : axes.has(AXIS.order) || axes.has(AXIS.sum) ? AXIS.sum : AXIS.counter;
  const order = orderOf(log);
  return { axis, isCommon, order, scopeOrder: scopeOrderOf(log, order), changes };
}

function firstTime(lines, file) {
  let least = Infinity;
  for (let i = file.first; i < file.first + file.count; ++i) {
    least = Math.min(least, lines.time[i]);
  }
  return least;
}
