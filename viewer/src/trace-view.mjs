// The view of trace logs: timeline, filters, lines, marks and what is selected.
import { MARKS } from './mark-kinds.mjs';
import { byId, h } from './dom.mjs';
import { MARK_SHAPES, Timeline } from './timeline.mjs';
import { dateText, durationText, timeText } from './texts.mjs';
import { TAG, TAGS } from './trace-line.mjs';
import { VirtualList } from './virtual-list.mjs';

const FILTER_DELAY_MS = 200;

function hex(number) {
  return `0x${number.toString(16).toUpperCase().padStart(4, '0')}`;
}

function classOfTags(tags) {
  if (tags.some((tag) => ['EX', '##', '**'].includes(tag))) {
    return 'bad';
  }
  return tags.includes('WN') ? 'warn' : '';
}

export class TraceView {
  constructor(worker, catalogue) {
    this.worker = worker;
    this.timeline = new Timeline(byId('timeline'), {
      markKinds: MARKS.map(({ kind }) => kind),
      onLine: (line) => this.select(line),
      onHover: (text) => byId('hover').replaceChildren(text),
      onRange: () => byId('filter-time').checked && this.#scheduleFilter(),
    });
    this.lines = new VirtualList(byId('lines'), {
      label: 'Lines of the log', columns: ['Time', 'Process', 'Thread', 'Source', 'Tags', 'Message'],
      fetch: async (from, to) => (await worker.ask('lines', { from, to })).lines,
      fill: (line, row) => this.#fillLine(line, row),
      select: (line) => this.select(line.line, true),
    });
    this.marks = new VirtualList(byId('marks'), {
      label: 'Marks', columns: ['Time', 'Mark', 'Message'],
      fetch: async (from, to) => (await worker.ask('marks', { from, to })).marks,
      fill: (mark) => this.#fillMark(mark),
      select: (mark) => this.select(mark.line),
    });
    this.#makeTagFilter(catalogue);
    this.#listen();
  }

  show(trace) {
    this.trace = trace;
    this.#showNotes(trace.notes);
    this.timeline.show(trace);
    this.#showLegend();
    this.#fillChoices();
    this.marks.setCount(trace.marks.time.length);
    byId('marks-heading').replaceChildren(this.#marksHeading());
    byId('detail').replaceChildren(h('p', {}, 'Choose a line, a mark or a function.'));
    return this.#filter();
  }

  /** Shows a line everywhere: on the timeline, in the list and in detail. */
  async select(line, isFromList = false) {
    const request = (this.selection = { line });
    const detail = await this.worker.ask('detail', { line });
    if (this.selection !== request) {
      return;
    }
    this.timeline.select(line, detail.time);
    this.timeline.showLane(detail.lane);
    if (!isFromList) {
      this.lines.reveal(detail.place);
    }
    this.#showDetail(detail);
  }

  #marksHeading() {
    const { kind } = this.trace.marks;
    const counts = MARKS.map(() => 0);
    kind.forEach((own) => ++counts[own]);
    const parts = MARKS.map(({ text }, i) => (counts[i] ? `${text} ${counts[i]}` : '')).filter(Boolean);
    return parts.length ? `Marks: ${parts.join(', ')}` : 'Marks: none';
  }

  #showNotes(notes) {
    const box = byId('notes');
    box.hidden = notes.length === 0;
    box.open = notes.length > 0 && notes.length <= 3;
    box.querySelector('summary').textContent = notes.length === 1 ? 'One thing is missing or unusual' : `${notes.length} things are missing or unusual`;
    box.querySelector('ul').replaceChildren(...notes.map((note) => h('li', {}, note)));
  }

  #showLegend() {
    const modules = this.timeline.modules.map((module) => {
      const swatch = h('i');
      swatch.style.background = this.timeline.colorOf(module);
      return h('span', {}, swatch, module);
    });
    const kinds = new Set(this.trace.marks.kind);
    const shapes = MARKS.filter((_, i) => kinds.has(i)).map(({ kind, text, explanation }) => h('span', { title: explanation }, `${MARK_SHAPES[kind]} ${text}`));
    byId('legend').replaceChildren(...modules, ...shapes);
  }

  #fillChoices() {
    const option = (value, text) => h('option', { value }, text);
    byId('filter-module').replaceChildren(option('', 'all'), ...this.timeline.modules.map((module) => option(module, module)));
    byId('filter-lane').replaceChildren(option('', 'all'), ...this.timeline.lanes.map(({ title }, i) => option(i, title)));
  }

  #makeTagFilter(catalogue) {
    const boxes = TAGS.map((tag) => {
      const meaning = catalogue.tags.find((own) => own.tag === tag)?.meaning ?? '';
      const text = tag === 'I' ? 'I0-I15' : tag === 'M' ? 'M1-M15' : tag;
      return h('label', {}, h('input', { type: 'checkbox', value: TAG[tag], checked: true }), ` (${text}) ${meaning}`);
    });
    const untagged = h('label', {}, h('input', { type: 'checkbox', value: 0, checked: true }), ' lines without a tag');
    const quick = (text, wanted) => h('button', { type: 'button', onclick: () => this.#checkTags(wanted) }, text);
    byId('filter-tags').replaceChildren(
      h('div', { class: 'tools' }, quick('All', () => true), quick('Problems', (bit) => bit & (TAG.EX | TAG['##'] | TAG.WN | TAG['**'])),
        quick('No functions', (bit) => !(bit & (TAG['->'] | TAG['<-'])))),
      ...boxes, untagged);
  }

  #checkTags(wanted) {
    for (const box of byId('filter-tags').querySelectorAll('input')) {
      box.checked = Boolean(wanted(Number(box.value)));
    }
    byId('tag-choice').open = false;
    this.#scheduleFilter();
  }

  #listen() {
    byId('filters').addEventListener('submit', (event) => event.preventDefault());
    byId('filters').addEventListener('input', () => this.#scheduleFilter());
    byId('filter-clear').addEventListener('click', () => {
      byId('filters').reset();
      this.#checkTags(() => true);
    });
    for (const button of document.querySelectorAll('[data-act]')) {
      button.addEventListener('click', () => this.timeline.act(button.dataset.act));
    }
    byId('tag-choice').addEventListener('keydown', (event) => {
      if (event.key === 'Escape') {
        byId('tag-choice').open = false;
        byId('tag-choice').querySelector('summary').focus();
      }
    });
    document.addEventListener('click', (event) => {
      if (!byId('tag-choice').contains(event.target)) {
        byId('tag-choice').open = false;
      }
    });
  }

  #scheduleFilter() {
    clearTimeout(this.filtering);
    this.filtering = setTimeout(() => this.#filter(), FILTER_DELAY_MS);
  }

  #wanted() {
    const boxes = [...byId('filter-tags').querySelectorAll('input')];
    const isAll = boxes.every(({ checked }) => checked);
    const tags = boxes.reduce((bits, { checked, value }) => (checked ? bits | Number(value) : bits), 0);
    byId('tag-choice').querySelector('summary').textContent = isAll ? 'Tags: all' : 'Tags: some';
    const [from, to] = byId('filter-time').checked ? this.timeline.range : [undefined, undefined];
    const lane = byId('filter-lane').value;
    return {
      tags: isAll ? undefined : tags, untagged: boxes.at(-1).checked, from, to,
      module: byId('filter-module').value, functionName: byId('filter-function').value.trim(),
      lane: lane === '' ? -1 : Number(lane), search: byId('filter-search').value,
    };
  }

  async #filter() {
    const request = (this.filterRequest = {});
    const { count } = await this.worker.ask('filter', { filter: this.#wanted() });
    if (this.filterRequest === request) {
      this.lines.setCount(count);
      const all = this.trace.lineCount;
      const noun = all === 1 ? 'line' : 'lines';
      byId('line-count').textContent = `${count === all ? '' : `${count.toLocaleString('en')} of `}${all.toLocaleString('en')} ${noun}`;
    }
  }

  #fillLine(line, row) {
    row.className = `row ${classOfTags(line.tags)}`;
    const message = `${'  '.repeat(Math.min(line.depth, 30))}${line.message}`;
    return [
      timeText(line.time, this.trace.axis, 6), line.process < 0 ? '' : String(line.process), line.thread < 0 ? '' : hex(line.thread),
      line.lineNumber ? String(line.lineNumber) : '', line.tags.map((tag) => `(${tag})`).join(' '), message,
    ];
  }

  #fillMark(mark) {
    const { kind, text, explanation } = MARKS[mark.kind];
    const isBad = ['fault', 'exception', 'error', 'errorCode'].includes(kind);
    const name = h('span', { class: isBad ? 'bad' : 'warn', title: explanation }, `${MARK_SHAPES[kind]} ${text}`);
    return [timeText(mark.time, this.trace.axis, 3), name, mark.message];
  }

  #showDetail(detail) {
    const { axis } = this.trace;
    const facts = [
      ['Time', `${dateText(detail.time, axis)} ${timeText(detail.time, axis)}`.trim()],
      ['Process', [detail.program?.split('\\').pop(), detail.process >= 0 ? `[${detail.process}]` : ''].filter(Boolean).join(' ')],
      ['Thread', detail.thread < 0 ? '' : `${hex(detail.thread)} (${detail.thread})`],
      ['Started as', detail.commandLine ?? ''],
      ['Source line', detail.lineNumber || ''],
      ['File', detail.file],
      ...detail.meanings.map(([tag, meaning]) => [`(${tag})`, meaning]),
    ];
    byId('detail').replaceChildren(
      h('pre', {}, detail.message || '(no message)'),
      detail.isCut ? h('p', { class: 'warn' }, 'The line is longer than what is shown.') : '',
      detail.place < 0 ? h('p', { class: 'warn' }, 'The filter leaves this line out of the list.') : '',
      factList(facts),
      detail.scopeChain.length ? h('h3', {}, 'In the function') : '',
      h('ol', {}, detail.scopeChain.map((scope) => this.#describeScope(scope))),
      h('details', {}, h('summary', {}, 'The whole line'), h('pre', {}, detail.text)),
    );
  }

  #describeScope({ name, module, start, end, duration, line, notes }) {
    const hasLength = this.trace.axis !== 'order' || duration >= 0;
    const length = hasLength ? `, ${durationText(duration >= 0 ? duration : end - start)}` : '';
    return h('li', {}, h('button', { type: 'button', onclick: () => this.select(line) }, name), ` ${module}${length}`,
      notes.map((note) => h('div', { class: 'bad' }, note)));
  }
}

export function factList(facts) {
  return h('dl', {}, facts.filter(([, value]) => value !== '').flatMap(([name, value]) => [h('dt', {}, name), h('dd', {}, value)]));
}
