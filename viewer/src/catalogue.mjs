// Makes the catalogue of the page from the documents and the traced sources: what tags, parameters, events and dimensions
// mean, and which module a class belongs to. It runs when the page is built; the page itself contains the result.
import fs from 'node:fs';
import path from 'node:path';
import { findTable, plain, quoted, readTables } from './docs-tables.mjs';

const PROGRAM_MODULE = 'program';

function readTags(tables) {
  const tags = [];
  for (const [, tag, meaning] of findTable(tables, 'bits', 'tag', 'lines').rows) {
    const [first] = quoted(tag);
    if (first) {
      tags.push({ tag: first.replace(/^\(|\)$/g, '').replace(/[0-9]+$/, ''), meaning: plain(meaning) });
    }
  }
  return tags;
}

function readParameters(tables) {
  const parameters = {};
  for (const table of tables.filter(({ columns }) => columns[0] === 'parameter')) {
    for (const [name, ...value] of table.rows) {
      parameters[quoted(name)[0]] ??= plain(value.join('; ')).replace(/, described below$/, '');
    }
  }
  return parameters;
}

function readOperations(tables) {
  const text = (cell) => quoted(cell)[0] ?? null;
  return findTable(tables, 'operation', 'sends', 'how often').rows.map(
    ([operation, sends, often, dimensions, category, action, label]) => ({
      operation: plain(operation),
      sends: plain(sends),
      often: plain(often),
      dimensions: [...dimensions.matchAll(/(?:^|, )([0-9]+)/g)].map((match) => Number(match[1])),
      category: text(category),
      action: text(action),
      label: text(label),
      labelArgument: text(label) === null && label !== '' ? label : null,
    }),
  );
}

function readDimensions(tables) {
  return Object.fromEntries(
    findTable(tables, 'number', 'name', 'value').rows.map(([number, name, value]) => [
      number,
      { name: plain(name), value: plain(value) },
    ]),
  );
}

function sourcesOf(folder) {
  return fs
    .readdirSync(folder)
    .filter((name) => name.endsWith('.cpp'))
    .map((name) => fs.readFileSync(path.join(folder, name), 'utf8'));
}

/** The text before the last "::" of a function's short name, or the whole of a name without one. */
export function scopeOf(shortName) {
  const end = shortName.lastIndexOf('::');
  return end < 0 ? shortName : shortName.slice(0, end);
}

// A library's module is the first CLogModule that it defines; the program's own has no name.
function readModules(root) {
  const modules = {};
  let programModule = PROGRAM_MODULE;
  for (const folder of ['utils', 'device_manager', 'analytics_reporting', 'proxy']) {
    const sources = sourcesOf(path.join(root, folder));
    const definition = sources.map((text) => /CLogModule g_logModule\((nullptr|"([^"]*)")/.exec(text)).find(Boolean);
    const module = definition?.[2] ?? programModule;
    for (const [, name] of sources.flatMap((text) => [...text.matchAll(/KV_TRACE\(L"([^"]*)"/g)])) {
      modules[scopeOf(name.split('::').slice(-2).join('::'))] = module;
    }
  }
  return modules;
}

/** root: the folder with docs/ and the libraries. */
export function makeCatalogue(root) {
  const tablesOf = (page) => readTables(fs.readFileSync(path.join(root, 'docs', page), 'utf8'));
  const events = tablesOf('events.md');
  return {
    tags: readTags(tablesOf('logging.md')),
    parameters: readParameters(tablesOf('measurement-protocol.md')),
    operations: readOperations(events),
    dimensions: readDimensions(events),
    modules: readModules(root),
  };
}
