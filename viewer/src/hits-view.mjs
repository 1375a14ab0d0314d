// The view of hits: a table, and each parameter of the chosen one.
import { byId, h } from './dom.mjs';
import { durationText, localText } from './texts.mjs';
import { factList } from './trace-view.mjs';
import { VirtualList } from './virtual-list.mjs';

function answerText(hit) {
  if (hit.answer === null) {
    return hit.isQueued ? 'waits' : '';
  }
  return hit.answer === 'lost' ? 'lost' : String(hit.answer);
}

function ageText(age) {
  return age === null ? '' : age < 0 ? 'in the future' : durationText(age * 1000);
}

function countText(count, noun) {
  return `${count} ${noun}${count === 1 ? '' : 's'}`;
}

export class HitsView {
  constructor() {
    this.hits = [];
    this.list = new VirtualList(byId('hits'), {
      label: 'Hits', columns: ['Session', 'Age', 'Arrived', 'Meaning', 'Dimensions', 'Answer', 'Verdict'],
      fetch: async (from, to) => this.hits.slice(from, to),
      fill: (hit, row) => this.#fill(hit, row),
      select: (hit) => this.#showDetail(hit),
    });
  }

  show(hits, { follow = false } = {}) {
    this.hits = hits;
    this.list.setCount(hits.length);
    if (follow && hits.length) {
      this.list.reveal(hits.length - 1);
    }
    const bad = hits.filter(({ reasons }) => reasons.length).length;
    const refused = hits.filter(({ isRefused }) => isRefused).length;
    const sessions = new Set(hits.map(({ session }) => session)).size;
    const parts = [`${countText(hits.length, 'hit')} in ${countText(sessions, 'session')}`];
    parts.push(bad ? `${bad} should be refused by every server` : 'none that a server should refuse');
    if (refused) {
      parts.push(`${refused} were not accepted`);
    }
    byId('hit-summary').textContent = `${parts.join('; ')}.`;
  }

  #fill(hit, row) {
    row.className = `row ${hit.reasons.length ? 'bad' : ''}`;
    const dimensions = hit.dimensions.map(({ name, value }) => `${name}=${value}`).join(', ');
    const verdict = hit.reasons.length ? `\u2716 ${hit.reasons[0]}` : '\u2713 well-formed';
    return [
      String(hit.session), ageText(hit.age), hit.arrivedAt === null ? '' : localText(hit.arrivedAt).slice(11), hit.meaning, dimensions,
      h('span', { class: hit.isRefused ? 'bad' : '' }, hit.isRefused ? `\u2716 ${answerText(hit)}` : answerText(hit)), verdict,
    ];
  }

  #showDetail(hit) {
    const { operation } = hit;
    const facts = [
      ['Meaning', hit.meaning],
      ['Reported by', operation ? `${operation.operation}, ${operation.often}` : ''],
      ['Tracked', hit.trackedAt === null ? 'unknown: this kind of hit has no mark' : localText(hit.trackedAt)],
      ['Waited', hit.queueTime === null ? '' : durationText(hit.queueTime * 1000)],
      ['Arrived', hit.arrivedAt === null ? '' : localText(hit.arrivedAt)],
      ['Answer', answerText(hit)],
      ['Host', hit.host ?? ''],
      ['From', `${hit.source}, ${hit.isQueued ? 'line' : 'entry'} ${hit.place}`],
      ['Missing', hit.missing.length ? `dimensions ${hit.missing.join(', ')}, which this event usually has` : ''],
    ];
    const rows = hit.parameters.map(({ key, name, value, raw, meaning }) =>
      h('tr', {}, h('th', { scope: 'row' }, key), h('td', {}, value, raw !== value ? h('div', { class: 'dim' }, raw) : ''),
        h('td', { class: 'dim' }, name === key ? meaning : `${name}: ${meaning}`)));
    byId('hit-detail').replaceChildren(
      hit.reasons.length ? h('div', { class: 'reasons' }, h('b', {}, 'No server should accept this hit.'), h('ul', {}, hit.reasons.map((reason) => h('li', {}, reason)))) : '',
      factList(facts),
      h('table', {}, h('thead', {}, h('tr', {}, h('th', {}, 'Key'), h('th', {}, 'Value'), h('th', {}, 'What it is'))), h('tbody', {}, rows)),
      h('details', {}, h('summary', {}, 'The whole hit'), h('pre', {}, hit.request)),
    );
  }
}
