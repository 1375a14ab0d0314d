// What the tests share: folders of the environment, samples of the pages, and logs made of lines.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { analyse } from '../../viewer/src/analysis.mjs';
import { makeCatalogue } from '../../viewer/src/catalogue.mjs';
import { decodeText, unitsOf } from '../../viewer/src/text.mjs';
import { TraceLog } from '../../viewer/src/trace-log.mjs';

export const ROOT = fileURLToPath(new URL('../..', import.meta.url));
export const catalogue = makeCatalogue(ROOT);

export function readPage(name) {
  return fs.readFileSync(path.join(ROOT, 'docs', name), 'utf8');
}

/** The indented samples of a page that begin with a text. */
export function samplesOf(page, start) {
  return readPage(page)
    .split('\n')
    .filter((line) => line.startsWith('    ' + start))
    .map((line) => line.slice(4));
}

/** The folder that a variable names; an error without it, since a test that finds nothing to read would prove nothing. */
export function folderOf(variable) {
  const folder = process.env[variable];
  if (!folder) {
    throw new Error(`${variable} names no folder`);
  }
  return folder;
}

export function filesIn(folder) {
  return fs.readdirSync(folder).sort().map((name) => path.join(folder, name));
}

export function readLogs(...files) {
  const log = new TraceLog();
  for (const file of files) {
    const { units, note, encoding } = decodeText(new Uint8Array(fs.readFileSync(file)));
    Object.assign(log.addFile(path.basename(file), units), { note, encoding });
  }
  return { log, analysis: analyse(log) };
}

/** A log of these lines in one file each. */
export function logOf(...files) {
  const log = new TraceLog();
  files.forEach((lines, i) => log.addFile(`file ${i + 1}`, unitsOf(Array.isArray(lines) ? lines.map((line) => line + '\r\n').join('') : lines)));
  return { log, analysis: analyse(log) };
}

export function messagesOf(log) {
  return Array.from({ length: log.lines.count }, (_, i) => log.message(i));
}

/** Scopes as texts: indentation, name and what is remarkable, in the order of their begins. */
export function scopesOf({ log, analysis }) {
  const { scopes } = analysis;
  return Array.from({ length: scopes.count }, (_, i) => '  '.repeat(scopes.depth[i]) + log.names.list[scopes.name[i]]);
}
