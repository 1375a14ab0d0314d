// The measurements of scripts/bench: a table with a bar for each ratio and its goal.
import { byId, h } from './dom.mjs';

const WIDTH = 300;

function bar({ low, high, ratio, goal }, most) {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('width', WIDTH);
  svg.setAttribute('height', 16);
  svg.setAttribute('aria-hidden', 'true');
  const rectangle = (x, width, y, height, fill) => {
    const element = document.createElementNS('http://www.w3.org/2000/svg', 'rect');
    Object.entries({ x: (x / most) * WIDTH, width: Math.max(2, (width / most) * WIDTH), y, height, fill }).forEach(([name, value]) => element.setAttribute(name, value));
    svg.append(element);
  };
  rectangle(0, ratio, 3, 10, '#56b4e9');
  rectangle(low, high - low, 7, 2, '#000');
  if (goal !== null) {
    rectangle(goal, 0, 0, 16, '#d55e00');
  }
  return svg;
}

export function showResults(results) {
  const tables = results.map(({ source, programBytes, rows }) => {
    const most = Math.max(1, ...rows.map(({ high, goal }) => Math.max(high, goal ?? 0)));
    return h('div', {}, h('h2', {}, `${source}: ratios to a floor of the same run; the program has ${programBytes.toLocaleString('en')} bytes`),
      h('table', {},
        h('thead', {}, h('tr', {}, ['Row', 'Ratio', 'Middle 80 %', 'Goal', 'Met', ''].map((text) => h('th', {}, text)))),
        h('tbody', {}, rows.map((row) => h('tr', {}, h('th', { scope: 'row' }, row.row), h('td', {}, row.ratio.toFixed(2)),
          h('td', {}, `${row.low.toFixed(2)} to ${row.high.toFixed(2)}`), h('td', {}, row.goal === null ? '' : String(row.goal)),
          h('td', { class: row.isMet === false ? 'bad' : 'good' }, row.isMet === null ? '' : row.isMet ? 'yes' : 'no'), h('td', {}, bar(row, most)))))));
  });
  byId('view-results').replaceChildren(...tables);
}
