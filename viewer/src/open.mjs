// Finds out what a file contains.
import { readHits } from './hits.mjs';
import { readResults } from './results.mjs';
import { decodeText, looksLikeText } from './text.mjs';
import { parseLine, parseLogsOwn } from './trace-line.mjs';

const HEAD_UNITS = 1 << 16;

function textOf(units) {
  return new TextDecoder('utf-16le', { ignoreBOM: true }).decode(
    new Uint8Array(units.buffer, units.byteOffset, units.length * 2),
  );
}

/** Whether one of the first lines has a prefix or a tag of a trace log. */
export function looksLikeTraceLog(head) {
  return head.split(/\r*\n/).some((text) => {
    const line = parseLine(text, 0, text.length);
    return line.columns !== 0 || line.tags !== 0 || parseLogsOwn(text) !== null;
  });
}

/**
 * What the bytes are: {kind: 'trace', units, note, encoding}, {kind: 'hits', hits, notes}, {kind: 'results', results}, or
 * {kind: 'nothing', sentence} for anything else.
 */
export function openBytes(name, bytes) {
  if (bytes.length === 0) {
    return { kind: 'nothing', sentence: `${name} is empty.` };
  }
  const { units, encoding, note } = decodeText(bytes);
  if (!looksLikeText(units)) {
    return { kind: 'nothing', sentence: `${name} is no text: it is neither a trace log nor a file of hits.` };
  }
  const head = textOf(units.subarray(0, HEAD_UNITS));
  // A log can mention a hit, so only lines that begin with one outweigh lines that look like those of a log.
  const isLog = looksLikeTraceLog(head) && !/^\/collect\?/m.test(head);
  const hits = !isLog && /\/collect\?|"entries"|"path"/.test(head) ? readHits(name, textOf(units)) : null;
  if (hits) {
    return { kind: 'hits', ...hits };
  }
  const results = isLog ? null : readResults(name, textOf(units));
  if (results) {
    return { kind: 'results', results };
  }
  if (isLog) {
    return { kind: 'trace', units, encoding, note };
  }
  const sentence = `${name} is a text, but neither a trace log nor a queue file, a capture (HAR) or a recording of hits.`;
  return { kind: 'nothing', sentence };
}
