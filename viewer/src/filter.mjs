// Chooses the lines that are shown.
import { KIND } from './trace-log.mjs';

const BLOCK_UNITS = 1 << 20;

function scopeOf(shortName) {
  const end = shortName.lastIndexOf('::');
  return end < 0 ? shortName : shortName.slice(0, end);
}

/** The module of a function, by its class. */
export function moduleOf(shortName, catalogue) {
  return catalogue.modules[scopeOf(shortName)] ?? 'other';
}

// 1 for each line that contains the text, in any case.
function search(log, text) {
  const found = new Uint8Array(log.lines.count);
  const expression = new RegExp(text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&'), 'gi');
  log.files.forEach((file) => searchFile(log, file, expression, found));
  return found;
}

function searchFile(log, file, expression, found) {
  const { lines } = log;
  const last = file.first + file.count;
  for (let from = file.first; from < last; ) {
    // Whole lines, so that no match is cut in two.
    let to = from;
    while (to < last && (to === from || lines.end[to] - lines.start[from] < BLOCK_UNITS)) {
      ++to;
    }
    const start = lines.start[from];
    const bytes = new Uint8Array(file.units.buffer, file.units.byteOffset + start * 2, (lines.end[to - 1] - start) * 2);
    const block = new TextDecoder('utf-16le', { ignoreBOM: true }).decode(bytes);
    let line = from;
    expression.lastIndex = 0;
    for (let match = expression.exec(block); match; match = expression.exec(block)) {
      while (line < to - 1 && lines.end[line] <= start + match.index) {
        ++line;
      }
      found[line] = 1;
      expression.lastIndex = Math.max(match.index + 1, lines.end[line] - start);
    }
    from = to;
  }
}

/**
 * The lines that pass, in the order of time. filter: {tags: bits, none for all; untagged: lines without a tag too; module,
 * functionName: texts; lane: number; from, to: times; search: text}, each optional. A continuation goes with its line.
 */
export function filterLines(log, analysis, filter, catalogue) {
  const { lines, names } = log;
  const { scopes, order } = analysis;
  const found = filter.search ? search(log, filter.search) : null;
  const isNameWanted = names.list.map(
    (name) =>
      (!filter.module || moduleOf(name, catalogue) === filter.module) &&
      (!filter.functionName || name.toLowerCase().includes(filter.functionName.toLowerCase())),
  );
  const needsName = Boolean(filter.module || filter.functionName);
  const passes = (i) => {
    if (filter.tags !== undefined && !(lines.tags[i] & filter.tags) && !(filter.untagged && lines.tags[i] === 0)) {
      return false;
    }
    if (filter.lane >= 0 && lines.lane[i] !== filter.lane) {
      return false;
    }
    if (lines.time[i] < (filter.from ?? -Infinity) || lines.time[i] > (filter.to ?? Infinity)) {
      return false;
    }
    if (needsName) {
      const scope = lines.scope[i];
      return scope >= 0 && isNameWanted[scopes.name[scope]];
    }
    return true;
  };
  const result = new Uint32Array(lines.count);
  let count = 0;
  let isLastShown = false;
  for (const i of order) {
    const continues = lines.kind[i] === KIND.continuation;
    isLastShown = continues ? isLastShown : passes(i);
    if (isLastShown && (!found || found[i])) {
      result[count++] = i;
    }
  }
  return result.slice(0, count);
}

