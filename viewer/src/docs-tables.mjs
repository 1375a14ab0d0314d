// Reads the tables of the project's Markdown pages, which are the only description of the formats.

const ROW = /^\|(.*)\|\s*$/;
const RULE = /^\|[\s:|-]+\|\s*$/;

function splitRow(line) {
  // A pipe in backticks does not occur in the pages.
  return ROW.exec(line)[1].split('|').map((cell) => cell.trim());
}

/** Every table of a page: [{heading, columns: [...], rows: [[...]]}], with the nearest heading above it. */
export function readTables(markdown) {
  const tables = [];
  const lines = markdown.split(/\r?\n/);
  let heading = '';
  for (let i = 0; i < lines.length; ++i) {
    if (/^#+ /.test(lines[i])) {
      heading = lines[i].replace(/^#+ /, '').replaceAll('`', '');
    }
    if (!ROW.test(lines[i]) || !RULE.test(lines[i + 1] ?? '')) {
      continue;
    }
    const table = { heading, columns: splitRow(lines[i]), rows: [] };
    for (i += 2; ROW.test(lines[i] ?? ''); ++i) {
      table.rows.push(splitRow(lines[i]));
    }
    tables.push(table);
  }
  return tables;
}

/** The table with exactly these first columns; an error if the page has none. */
export function findTable(tables, ...columns) {
  const table = tables.find(({ columns: own }) => columns.every((name, i) => own[i] === name));
  if (!table) {
    throw new Error(`no table with the columns ${columns.join(', ')}`);
  }
  return table;
}

/** All texts in backticks of a cell, blanks kept. */
export function quoted(cell) {
  return [...cell.matchAll(/`([^`]*)`/g)].map((match) => match[1]);
}

/** The text of a cell without its marks. */
export function plain(cell) {
  return cell.replaceAll('`', '').replace(/\[([^\]]*)\]\([^)]*\)/g, '$1');
}
