// Writes times, durations and names for people.

function pad(number, digits = 2) {
  return String(Math.floor(number)).padStart(digits, '0');
}

/** A duration in microseconds with three digits that count. */
export function durationText(us) {
  const size = Math.abs(us);
  if (size < 1000) {
    return `${Math.round(us)} \u00b5s`;
  }
  if (size < 1e6) {
    return `${Number((us / 1000).toPrecision(3))} ms`;
  }
  if (size < 60e6) {
    return `${Number((us / 1e6).toPrecision(3))} s`;
  }
  const seconds = Math.round(us / 1e6);
  return seconds < 3600
    ? `${Math.floor(seconds / 60)} min ${seconds % 60} s`
    : seconds < 86400
      ? `${Math.floor(seconds / 3600)} h ${Math.floor((seconds % 3600) / 60)} min`
      : `${Math.floor(seconds / 86400)} d ${Math.floor((seconds % 86400) / 3600)} h`;
}

/** The time of a line on its axis. digits: of the fraction of a second. */
export function timeText(time, axis, digits = 6) {
  if (axis === 'order') {
    return `line ${Math.round(time) + 1}`;
  }
  if (axis === 'wall' || axis === 'day') {
    const ofDay = ((time % 86400e6) + 86400e6) % 86400e6;
    const whole = Math.floor(ofDay / 1e6);
    const text = `${pad(whole / 3600)}:${pad((whole % 3600) / 60)}:${pad(whole % 60)}`;
    return digits ? `${text}.${pad(ofDay % 1e6, 6).slice(0, digits)}` : text;
  }
  return `${(time / 1e6).toFixed(digits)} s`;
}

/** The date of a line, empty if the axis has none. */
export function dateText(time, axis) {
  return axis === 'wall' ? new Date(time / 1000).toISOString().slice(0, 10) : '';
}

/** Milliseconds since 1970 as local date and time. */
export function localText(milliseconds) {
  const date = new Date(milliseconds);
  return `${date.getFullYear()}-${pad(date.getMonth() + 1)}-${pad(date.getDate())} ${pad(date.getHours())}:${pad(date.getMinutes())}:${pad(date.getSeconds())}`;
}

/** A function's name in at most that many characters: its class is the first to go, then its end. */
export function shortened(name, most) {
  const separator = name.lastIndexOf('::');
  const own = separator < 0 ? name : name.slice(separator + 2);
  return own.length > most ? `${own.slice(0, Math.max(1, most - 1))}\u2026` : own;
}
