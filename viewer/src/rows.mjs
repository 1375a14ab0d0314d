// The scopes of each lane and depth in the order of their begins, so that what is in view is found without looking at the rest.

export class ScopeRows {
  constructor(scopes, laneCount) {
    this.scopes = scopes;
    this.depths = new Uint32Array(laneCount);
    const counts = new Map();
    const count = scopes.start.length;
    for (let i = 0; i < count; ++i) {
      const key = scopes.lane[i] * 65536 + scopes.depth[i];
      counts.set(key, (counts.get(key) ?? 0) + 1);
      this.depths[scopes.lane[i]] = Math.max(this.depths[scopes.lane[i]], scopes.depth[i] + 1);
    }
    this.rows = new Map([...counts].map(([key, size]) => [key, { list: new Uint32Array(size), count: 0, isSorted: true }]));
    for (let i = 0; i < count; ++i) {
      const row = this.rows.get(scopes.lane[i] * 65536 + scopes.depth[i]);
      const last = row.count ? row.list[row.count - 1] : i;
      row.isSorted &&= scopes.start[last] <= scopes.start[i];
      row.list[row.count++] = i;
    }
    for (const row of this.rows.values()) {
      if (!row.isSorted) {
        row.list.sort((a, b) => scopes.start[a] - scopes.start[b] || a - b);
      }
    }
  }

  of(lane, depth) {
    return this.rows.get(lane * 65536 + depth)?.list ?? new Uint32Array();
  }

  /** The first place of a row whose scope begins at or behind a time. */
  firstFrom(row, time, low = 0) {
    let high = row.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (this.scopes.start[row[middle]] < time) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

  /**
   * Calls paint(scope, from, to) for what is visible between two times, in units of pixels. Of scopes that share a pixel only
   * the first is painted, so the work depends on the width and not on the number of scopes.
   */
  visit(lane, depth, from, to, pixelsPerUnit, paint) {
    const { start, end } = this.scopes;
    const row = this.of(lane, depth);
    for (let i = Math.max(0, this.firstFrom(row, from) - 1); i < row.length && start[row[i]] <= to; ) {
      const left = (start[row[i]] - from) * pixelsPerUnit;
      const right = (end[row[i]] - from) * pixelsPerUnit;
      if (right >= 0) {
        paint(row[i], left, right);
      }
      i = right - left >= 1 ? i + 1 : Math.max(i + 1, this.firstFrom(row, from + (left + 1) / pixelsPerUnit, i + 1));
    }
  }

  /** The scope at a time, with a tolerance; -1 for none. */
  at(lane, depth, time, tolerance) {
    const { start, end } = this.scopes;
    const row = this.of(lane, depth);
    let best = -1;
    let distance = tolerance;
    for (let i = this.firstFrom(row, time + tolerance) - 1; i >= 0 && i > this.firstFrom(row, time - tolerance) - 3; --i) {
      const own = Math.max(0, start[row[i]] - time, time - end[row[i]]);
      if (own === 0) {
        return row[i];
      }
      if (own <= distance) {
        best = row[i];
        distance = own;
      }
    }
    return best;
  }
}
