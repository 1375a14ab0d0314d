// A list of any length: only the rows in view exist. The keyboard and screen readers reach all of them.
import { h } from './dom.mjs';

const ROW_HEIGHT = 20;
// Browsers limit the height of an element; beyond it a pixel of scrolling is more than a pixel of the list.
const MOST_HEIGHT = 15e6;
const SPARE_ROWS = 20;
const SHORT_TEXT = 16; // fits into every column

export class VirtualList {
  /**
   * host: the element; label: for screen readers; columns: the head's texts; fetch(from, to): a promise of the rows' data;
   * fill(row, data): the cells of a row; select(data, place): called when a row is chosen.
   */
  constructor(host, { label, columns, fetch, fill, select }) {
    Object.assign(this, { fetch, fill, select });
    this.count = 0;
    this.active = -1;
    this.version = 0;
    this.cache = new Map();
    this.rows = new Map();
    this.head = h('div', { class: 'head', role: 'row', 'aria-rowindex': 1 }, columns.map((text) => h('span', { role: 'columnheader', title: text }, text)));
    this.spacer = h('div', { role: 'presentation' });
    this.scroller = h('div', { class: 'list', tabindex: 0, role: 'grid', 'aria-label': label, 'aria-rowcount': 1 }, this.head, this.spacer);
    this.id = `list-${label.replace(/\W+/g, '-')}`;
    this.scroller.addEventListener('scroll', () => this.#scheduleDraw());
    this.scroller.addEventListener('keydown', (event) => this.#onKey(event));
    new ResizeObserver(() => this.#scheduleDraw()).observe(this.scroller);
    host.replaceChildren(this.scroller);
  }

  setCount(count) {
    this.count = count;
    this.active = -1;
    ++this.version;
    this.cache.clear();
    this.rows.forEach((row) => row.remove());
    this.rows.clear();
    this.height = Math.min(count * ROW_HEIGHT, MOST_HEIGHT);
    this.spacer.style.height = `${this.height}px`;
    this.scroller.setAttribute('aria-rowcount', count + 1);
    this.scroller.removeAttribute('aria-activedescendant');
    this.#scheduleDraw();
  }

  /** Shows the row and makes it the chosen one, without calling select. */
  reveal(place) {
    if (place < 0 || place >= this.count) {
      this.active = -1;
      this.#scheduleDraw();
      return;
    }
    this.active = place;
    const first = this.#first();
    const visible = this.#visibleCount();
    if (place < first + 1 || place >= first + visible - 2) {
      this.#scrollTo(Math.max(0, place - Math.floor(visible / 2)));
    }
    this.#scheduleDraw();
  }

  #visibleCount() {
    return Math.ceil(Math.max(0, this.scroller.clientHeight - ROW_HEIGHT) / ROW_HEIGHT) + 1;
  }

  #scale() {
    const whole = this.count * ROW_HEIGHT - this.scroller.clientHeight + ROW_HEIGHT;
    const possible = this.height - this.scroller.clientHeight + ROW_HEIGHT;
    return this.height < this.count * ROW_HEIGHT && possible > 0 ? whole / possible : 1;
  }

  #first() {
    return Math.floor((this.scroller.scrollTop * this.#scale()) / ROW_HEIGHT);
  }

  #scrollTo(place) {
    this.scroller.scrollTop = (place * ROW_HEIGHT) / this.#scale();
  }

  #scheduleDraw() {
    this.frame ??= requestAnimationFrame(() => {
      this.frame = undefined;
      this.#draw();
    });
  }

  #draw() {
    const first = Math.max(0, this.#first() - SPARE_ROWS);
    const last = Math.min(this.count, this.#first() + this.#visibleCount() + SPARE_ROWS);
    for (const [place, row] of this.rows) {
      if (place < first || place >= last) {
        row.remove();
        this.rows.delete(place);
      }
    }
    // In scaled coordinates, relative to the row at the top.
    const shift = this.#scale() === 1 ? 0 : this.scroller.scrollTop - this.#first() * ROW_HEIGHT;
    for (let place = first; place < last; ++place) {
      const row = this.rows.get(place) ?? this.#makeRow(place);
      row.style.top = `${ROW_HEIGHT + place * ROW_HEIGHT + shift}px`;
      row.setAttribute('aria-selected', place === this.active);
      row.classList.toggle('active', place === this.active);
    }
    if (this.active >= 0 && this.rows.has(this.active)) {
      this.scroller.setAttribute('aria-activedescendant', `${this.id}-${this.active}`);
    }
    this.#fetchMissing(first, last);
  }

  #makeRow(place) {
    const row = h('div', { class: 'row', role: 'row', id: `${this.id}-${place}`, 'aria-rowindex': place + 2, onclick: () => this.choose(place) });
    this.rows.set(place, row);
    this.scroller.append(row);
    if (this.cache.has(place)) {
      this.#fillRow(row, this.cache.get(place));
    }
    return row;
  }

  #fillRow(row, data) {
    row.replaceChildren(...this.fill(data, row).map((cell) => {
      const element = cell instanceof Node ? cell : h('span', { title: cell.length > SHORT_TEXT ? cell : null }, cell);
      element.setAttribute('role', 'gridcell');
      return element;
    }));
  }

  async #fetchMissing(first, last) {
    let from = first;
    while (from < last && this.cache.has(from)) {
      ++from;
    }
    if (from >= last || this.isFetching) {
      return;
    }
    const { version } = this;
    this.isFetching = true;
    try {
      const data = await this.fetch(from, last);
      if (version === this.version) {
        data.forEach((item, i) => {
          this.cache.set(from + i, item);
          const row = this.rows.get(from + i);
          if (row) {
            this.#fillRow(row, item);
          }
        });
        if (this.cache.size > 5000) {
          this.#forget(first, last);
        }
      }
    } finally {
      this.isFetching = false;
    }
    this.#scheduleDraw();
  }

  #forget(first, last) {
    for (const place of this.cache.keys()) {
      if (place < first - 200 || place > last + 200) {
        this.cache.delete(place);
      }
    }
  }

  async choose(place) {
    if (place < 0 || place >= this.count) {
      return;
    }
    this.active = place;
    this.reveal(place);
    const data = this.cache.get(place) ?? (await this.fetch(place, place + 1))[0];
    if (data && this.active === place) {
      this.select(data, place);
    }
  }

  #onKey(event) {
    const page = Math.max(1, this.#visibleCount() - 2);
    const steps = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -Infinity, End: Infinity };
    if (event.key in steps && !event.altKey) {
      event.preventDefault();
      const from = this.active < 0 && steps[event.key] > 0 ? -1 : Math.max(this.active, 0);
      this.choose(Math.min(Math.max(from + steps[event.key], 0), this.count - 1));
    }
  }
}
