// The timeline: a chart whose axis, zoom and cursor are the library's, and on which scopes and marks are painted by lane.
import uPlot from 'uplot';
import { h } from './dom.mjs';
import { ScopeRows } from './rows.mjs';
import { dateText, durationText, shortened, timeText } from './texts.mjs';

const ROW = 17;
const LANE_HEAD = 20;
const MARK_ROW = 15;
const LANE_GAP = 6;
const CHARACTER_WIDTH = 6.8; // of the small font, on average
const AXIS_HEIGHT = 34;
const MARK_WIDTH = 9;
const MARKS_COMPARED = 100; // of those that share a place
const LEAST_SPAN = 2; // units of the axis

/** Colours that people with any colour vision tell apart; shapes and letters say the same. */
const MODULE_COLORS = ['#56b4e9', '#e69f00', '#009e73', '#f0e442', '#cc79a7', '#8fa3b0', '#b7a6e0'];
const FAULT_COLOR = '#d55e00';
export const MARK_SHAPES = {
  fault: '\u2716', exception: '\u25c6', error: '\u25b2', errorCode: '\u25bd', warning: '\u25cf', noExit: '\u21e5', noEntry: '\u21e4',
  full: '\u25a0', queued: '\u25cc', clock: '\u25f7',
};
const PROBLEM = 1 | 2 | 4 | 8 | 16; // no end, no begin, fault, exceptions
const NO_EXIT = 1;
const FAULT = 4;

const INCREMENTS = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1e3, 2e3, 5e3, 1e4, 2e4, 5e4, 1e5, 2e5, 5e5, 1e6, 2e6, 5e6, 10e6, 15e6, 30e6,
  60e6, 120e6, 300e6, 600e6, 900e6, 1800e6, 3600e6, 2 * 3600e6, 6 * 3600e6, 12 * 3600e6, 86400e6, 2 * 86400e6, 7 * 86400e6,
  30 * 86400e6, 365 * 86400e6];

function digitsFor(increment) {
  return increment >= 1e6 ? 0 : increment >= 1000 ? 3 : 6;
}

export class Timeline {
  /** host: the element; markKinds: names of the marks' kinds; onLine(line): a scope or a mark was clicked. */
  constructor(host, { markKinds, onLine, onHover, onRange }) {
    Object.assign(this, { host, markKinds, onLine, onHover, onRange });
    this.stage = h('div', { class: 'stage' });
    this.spacer = h('div');
    host.replaceChildren(this.stage, this.spacer);
    host.addEventListener('scroll', () => this.#redraw());
    host.addEventListener('wheel', (event) => this.#onWheel(event), { passive: false });
    host.addEventListener('keydown', (event) => this.#onKey(event));
    new ResizeObserver(() => this.#resize()).observe(host);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.trace && this.#rebuild());
  }

  show(trace) {
    this.trace = trace;
    this.rows = new ScopeRows(trace.scopes, trace.lanes.length);
    this.base = trace.firstTime;
    const reach = trace.scopes.start.reduce((least, time) => Math.min(least, time), trace.firstTime);
    const margin = Math.max(1, (trace.lastTime - reach) * 0.01);
    this.whole = [reach - this.base - margin, Math.max(LEAST_SPAN, trace.lastTime - this.base + margin)];
    this.modules = [...new Set(trace.nameModules)].sort();
    this.nameColors = trace.nameModules.map((module) => this.colorOf(module));
    this.#layOut();
    this.selected = -1;
    this.#rebuild();
  }

  /** The visible times. */
  get range() {
    const { min, max } = this.plot.scales.x;
    return [min + this.base, max + this.base];
  }

  select(line, time) {
    this.selected = line;
    this.selectedTime = time;
    const [from, to] = this.range;
    if (time < from || time > to) {
      const half = (to - from) / 2;
      this.#setRange(time - this.base - half, time - this.base + half);
    }
    this.#redraw();
  }

  /** Scrolls to the lane, so that what is selected can be seen. */
  showLane(lane) {
    const { top, height } = this.lanes[lane];
    const view = this.host.clientHeight - AXIS_HEIGHT;
    if (top < this.host.scrollTop || top + height > this.host.scrollTop + view) {
      this.host.scrollTop = Math.max(0, top - 10);
    }
  }

  act(name) {
    const { min, max } = this.plot.scales.x;
    const span = max - min;
    const middle = this.selected >= 0 && this.selectedTime - this.base > min && this.selectedTime - this.base < max
      ? this.selectedTime - this.base
      : (min + max) / 2;
    const actions = {
      in: () => this.#zoom(0.5, middle), out: () => this.#zoom(2, middle),
      left: () => this.#setRange(min - span / 4, max - span / 4), right: () => this.#setRange(min + span / 4, max + span / 4),
      whole: () => this.#setRange(...this.whole),
      next: () => this.#stepMark(1), previous: () => this.#stepMark(-1),
    };
    actions[name]();
  }

  colorOf(module) {
    return MODULE_COLORS[this.modules.indexOf(module) % MODULE_COLORS.length];
  }

  #layOut() {
    const { lanes, marks } = this.trace;
    const hasMarks = new Set(marks.lane);
    let top = 0;
    this.lanes = lanes.map((lane, i) => {
      const depths = this.rows.depths[i];
      const marked = hasMarks.has(i) ? MARK_ROW : 0;
      const height = LANE_HEAD + marked + depths * ROW + LANE_GAP;
      const own = { top, height, depths, marked, title: titleOf(lane, this.trace.files) };
      top += height;
      return own;
    });
    this.contentHeight = top;
    this.marksOfLanes = lanes.map(() => []);
    marks.lane.forEach((lane, i) => this.marksOfLanes[lane].push(i));
  }

  #size() {
    const most = Math.max(140, Math.floor(window.innerHeight * 0.42));
    const height = Math.min(most, this.contentHeight + AXIS_HEIGHT + 2);
    this.host.style.height = `${height + 2}px`;
    return { width: Math.max(200, this.host.clientWidth), height };
  }

  #resize() {
    if (this.plot && this.host.clientWidth > 0) {
      const size = this.#size();
      if (size.width !== this.plot.width || size.height !== this.plot.height) {
        this.plot.setSize(size);
        this.#setSpacer();
      }
    }
  }

  #setSpacer() {
    this.spacer.style.height = `${Math.max(0, this.contentHeight + AXIS_HEIGHT - this.plot.height)}px`;
  }

  #rebuild() {
    const range = this.plot && this.plot.base === this.base ? this.plot.scales.x : null;
    this.plot?.destroy();
    const colors = getComputedStyle(document.documentElement);
    const color = (name) => colors.getPropertyValue(name).trim();
    this.colors = { front: color('--front'), back: color('--back'), soft: color('--soft'), line: color('--line'), focus: color('--focus'), dim: color('--dim') };
    const [from, to] = range ? [range.min, range.max] : this.whole;
    const options = {
      ...this.#size(),
      legend: { show: false },
      padding: [0, 28, 0, 28],
      scales: { x: { time: false, range: (_, min, max) => [min, max] }, y: { range: [0, 1] } },
      series: [{}, { show: false }],
      axes: [
        {
          side: 0, size: AXIS_HEIGHT, stroke: this.colors.front, incrs: INCREMENTS, space: 110,
          grid: { stroke: this.colors.line, width: 1 }, ticks: { stroke: this.colors.line, width: 1 },
          values: (_, splits, __, ___, increment) => splits.map((value) => this.#tick(value, increment)),
        },
        { show: false },
      ],
      cursor: {
        y: false, drag: { x: true, y: false, dist: 4 }, points: { show: false },
        bind: { dblclick: () => () => this.act('whole') },
      },
      hooks: {
        draw: [() => this.#paint()],
        setCursor: [() => this.#onMove()],
        setScale: [(plot) => plot === this.plot && this.#announceRange()],
      },
    };
    this.plot = new uPlot(options, [[from, to], [null, null]], this.stage);
    this.plot.base = this.base;
    this.plot.over.addEventListener('click', (event) => this.#onClick(event)); // not at the end of a drag
    this.plot.setScale('x', { min: from, max: to });
    this.#setSpacer();
  }

  #tick(value, increment) {
    const { axis } = this.trace;
    const time = value + this.base;
    if (axis === 'order') {
      return Number.isInteger(time) ? String(time + 1) : '';
    }
    const text = timeText(time, axis, digitsFor(increment));
    return increment >= 3600e6 && axis === 'wall' ? `${text}\n${dateText(time, axis)}` : text;
  }

  #announceRange() {
    clearTimeout(this.announcing);
    this.announcing = setTimeout(() => {
      this.onRange(this.range);
      this.onHover(this.#describeRange());
    }, 150);
  }

  #redraw() {
    this.plot?.redraw(false, false);
  }

  #setRange(min, max) {
    const span = Math.min(Math.max(max - min, LEAST_SPAN), (this.whole[1] - this.whole[0]) * 1.5);
    const middle = Math.min(Math.max((min + max) / 2, this.whole[0]), this.whole[1]);
    this.plot.setScale('x', { min: middle - span / 2, max: middle + span / 2 });
  }

  #zoom(factor, center) {
    const { min, max } = this.plot.scales.x;
    this.#setRange(center - (center - min) * factor, center + (max - center) * factor);
  }

  #paint() {
    const { ctx, bbox, scales } = this.plot;
    const ratio = devicePixelRatio;
    const { min, max } = scales.x;
    const view = { min, max, width: bbox.width / ratio, perUnit: bbox.width / ratio / (max - min), top: this.host.scrollTop };
    ctx.save();
    ctx.scale(ratio, ratio);
    ctx.translate(bbox.left / ratio, bbox.top / ratio);
    ctx.beginPath();
    ctx.rect(0, 0, view.width, bbox.height / ratio);
    ctx.clip();
    ctx.translate(0, -view.top);
    ctx.textBaseline = 'middle';
    ctx.textAlign = 'left';
    this.lanes.forEach((lane, i) => {
      if (lane.top + lane.height >= view.top && lane.top <= view.top + bbox.height / ratio) {
        this.#paintLane(ctx, view, lane, i);
      }
    });
    this.#paintSelection(ctx, view);
    ctx.restore();
  }

  #paintLane(ctx, view, lane, number) {
    ctx.fillStyle = this.colors.soft;
    ctx.fillRect(0, lane.top, view.width, LANE_HEAD - 2);
    ctx.fillStyle = this.colors.front;
    ctx.font = '600 12px system-ui, sans-serif';
    ctx.fillText(lane.title, 6, lane.top + LANE_HEAD / 2 - 1);
    for (let depth = 0; depth < lane.depths; ++depth) {
      this.#paintRow(ctx, view, number, depth, lane.top + LANE_HEAD + lane.marked + depth * ROW);
    }
    if (lane.marked) {
      this.#paintMarks(ctx, view, number, lane.top + LANE_HEAD + MARK_ROW / 2);
    }
  }

  #paintRow(ctx, view, lane, depth, top) {
    const { scopes, names } = this.trace;
    let color = '';
    ctx.font = '11px system-ui, sans-serif';
    const paint = (scope, left, right) => {
      const flags = scopes.flags[scope];
      const x = Math.max(left, -2);
      const width = Math.max(1, Math.min(right, view.width + 2) - x);
      const own = flags & FAULT ? FAULT_COLOR : this.nameColors[scopes.name[scope]];
      if (own !== color) {
        ctx.fillStyle = color = own;
      }
      ctx.fillRect(x, top, Math.max(1, width - (width > 3 ? 0.5 : 0)), ROW - 2);
      if (flags & PROBLEM && width > 3) {
        this.#paintProblem(ctx, x, top, width, flags);
      }
      if (width > 34) {
        paintText(ctx, names[scopes.name[scope]], x + 4, top + ROW / 2 - 1, width - 8);
        color = '';
      }
    };
    this.rows.visit(lane, depth, view.min + this.base, view.max + this.base, view.perUnit, paint);
  }

  // A dashed frame; without an end the right side is open.
  #paintProblem(ctx, x, top, width, flags) {
    ctx.save();
    ctx.strokeStyle = '#000';
    ctx.lineWidth = 1.5;
    ctx.setLineDash([4, 2]);
    ctx.beginPath();
    ctx.moveTo(x + width, top + 1);
    ctx.lineTo(x + 1, top + 1);
    ctx.lineTo(x + 1, top + ROW - 3);
    ctx.lineTo(x + width, top + ROW - 3);
    if (!(flags & NO_EXIT)) {
      ctx.lineTo(x + width - 1, top + 1);
    }
    ctx.stroke();
    ctx.restore();
  }

  #paintMarks(ctx, view, lane, y) {
    const { marks } = this.trace;
    ctx.font = '12px "DejaVu Sans", "Segoe UI Symbol", sans-serif';
    ctx.textAlign = 'center';
    ctx.fillStyle = this.colors.front;
    const own = this.marksOfLanes[lane];
    for (let i = firstMark(own, marks.time, view.min + this.base); i < own.length && marks.time[own[i]] <= view.max + this.base; ) {
      // Marks that would cover each other look like the most serious of them.
      const next = Math.max(i + 1, firstMark(own, marks.time, marks.time[own[i]] + MARK_WIDTH / view.perUnit, i + 1));
      const x = (marks.time[own[i]] - this.base - view.min) * view.perUnit;
      const most = own.slice(i, Math.min(next, i + MARKS_COMPARED)).reduce((best, mark) => Math.min(best, marks.kind[mark]), 255);
      ctx.fillText(MARK_SHAPES[this.markKinds[most]], x, y);
      i = next;
    }
    ctx.textAlign = 'left';
  }

  #paintSelection(ctx, view) {
    if (this.selected >= 0) {
      const x = (this.selectedTime - this.base - view.min) * view.perUnit;
      ctx.strokeStyle = this.colors.focus;
      ctx.lineWidth = 2;
      ctx.beginPath();
      ctx.moveTo(x, view.top);
      ctx.lineTo(x, view.top + this.plot.height);
      ctx.stroke();
    }
  }

  // What is at the cursor: {scope} or {mark}, or nothing.
  #at(left, top) {
    const y = top + this.host.scrollTop;
    const lane = this.lanes.findIndex((own) => y >= own.top && y < own.top + own.height);
    if (lane < 0) {
      return {};
    }
    const time = this.plot.posToVal(left, 'x') + this.base;
    const pixel = (this.plot.scales.x.max - this.plot.scales.x.min) / this.plot.over.clientWidth;
    const below = y - this.lanes[lane].top - LANE_HEAD;
    if (below >= 0 && below < this.lanes[lane].marked) {
      return { mark: this.#nearestMark(lane, time, 6 * pixel) };
    }
    const depth = Math.floor((below - this.lanes[lane].marked) / ROW);
    const scope = depth >= 0 ? this.rows.at(lane, depth, time, 3 * pixel) : -1;
    return scope >= 0 ? { scope } : {};
  }

  #nearestMark(lane, time, tolerance) {
    const { marks } = this.trace;
    let best;
    for (const mark of this.marksOfLanes[lane]) {
      const distance = Math.abs(marks.time[mark] - time);
      if (distance <= tolerance && (best === undefined || distance < Math.abs(marks.time[best] - time))) {
        best = mark;
      }
    }
    return best;
  }

  #onClick(event) {
    const box = this.plot.over.getBoundingClientRect();
    const { scope, mark } = this.#at(event.clientX - box.left, event.clientY - box.top);
    if (mark !== undefined) {
      this.onLine(this.trace.marks.line[mark]);
    } else if (scope !== undefined) {
      this.onLine(this.trace.scopes.line[scope]);
    }
  }

  #onMove() {
    const { left, top } = this.plot.cursor;
    const { scope, mark } = left >= 0 ? this.#at(left, top) : {};
    const { scopes, names, marks } = this.trace;
    if (mark !== undefined) {
      this.onHover(`${this.markKinds[marks.kind[mark]]}, ${timeText(marks.time[mark], this.trace.axis)}`);
    } else if (scope !== undefined) {
      const length = this.trace.axis === 'order' ? '' : ` ${durationText(scopes.duration[scope] >= 0 ? scopes.duration[scope] : scopes.end[scope] - scopes.start[scope])}`;
      this.onHover(`${names[scopes.name[scope]]}${length}`);
    } else {
      this.onHover(left >= 0 ? timeText(this.plot.posToVal(left, 'x') + this.base, this.trace.axis) : this.#describeRange());
    }
  }

  #describeRange() {
    const { axis } = this.trace;
    const [from, to] = this.range;
    return axis === 'order' ? 'The axis counts lines' : `${dateText(from, axis)} ${durationText(to - from)} shown`.trim();
  }

  #stepMark(step) {
    const { marks } = this.trace;
    const count = marks.time.length;
    if (count === 0) {
      return;
    }
    const current = this.selected < 0 ? -1 : marks.line.indexOf(this.selected);
    let next = current < 0 ? firstMark(marks.time.map((_, i) => i), marks.time, this.selected < 0 ? -Infinity : this.selectedTime) + (step < 0 ? -1 : 0) : current + step;
    next = (next + count) % count;
    this.onLine(marks.line[next]);
  }

  #onWheel(event) {
    if (event.ctrlKey || event.metaKey) {
      event.preventDefault();
      const left = event.clientX - this.plot.over.getBoundingClientRect().left;
      this.#zoom(event.deltaY > 0 ? 1.25 : 0.8, this.plot.posToVal(left, 'x'));
    } else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      event.preventDefault();
      const { min, max } = this.plot.scales.x;
      const shift = ((event.deltaX || event.deltaY) / this.plot.over.clientWidth) * (max - min);
      this.#setRange(min + shift, max + shift);
    }
  }

  #onKey(event) {
    const keys = { '+': 'in', '=': 'in', '-': 'out', ArrowLeft: 'left', ArrowRight: 'right', Home: 'whole', n: 'next', p: 'previous', N: 'next', P: 'previous' };
    if (event.key in keys && !event.ctrlKey && !event.altKey && !event.metaKey) {
      event.preventDefault();
      this.act(keys[event.key]);
    }
  }
}

function titleOf(lane, files) {
  const program = lane.program ? lane.program.split(/[\\/]/).pop() : files[lane.file].name;
  const process = lane.process >= 0 ? ` [${lane.process}]` : '';
  const thread = lane.thread >= 0 ? `, thread 0x${lane.thread.toString(16).toUpperCase().padStart(4, '0')}` : '';
  return `${program}${process}${thread}`;
}

function paintText(ctx, text, x, y, width) {
  let shown = text;
  if (ctx.measureText(shown).width > width) {
    shown = shortened(text, Math.floor(width / CHARACTER_WIDTH));
  }
  ctx.fillStyle = '#000';
  ctx.fillText(shown, x, y);
}

// The first place of a list of marks, in the order of their times, at or behind a time.
function firstMark(list, times, time, low = 0) {
  let high = list.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (times[list[middle]] < time) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}
