// Follows the hits that viewer/collect receives. It serves this page, so the page talks to nothing but its own origin.
import { byId, h } from './dom.mjs';

const ANSWERS = [['200', '200 accepted'], ['500', '500 refused'], ['slow', 'slow: 200 after 5 s'], ['lost', 'lost: no answer']];

export function isServed() {
  return location.protocol === 'http:' && document.querySelector('meta[name="live"]') !== null;
}

/** onLines(lines): recorded hits, as JSON lines. */
export function follow(onLines) {
  const status = h('span', { role: 'status' }, 'Connecting');
  const choice = h('select', { id: 'live-answer', onchange: () => setAnswer(choice.value) }, ANSWERS.map(([value, text]) => h('option', { value }, text)));
  byId('live-tools').replaceChildren(status, h('label', {}, 'Answer the next hits with ', choice));
  byId('live-tools').hidden = false;
  const source = new EventSource('live');
  let waiting = [];
  source.onopen = () => status.replaceChildren('Connected: hits appear as they arrive');
  source.onerror = () => status.replaceChildren('Not connected: collect has ended, or does not answer');
  source.addEventListener('answer', ({ data }) => (choice.value = data));
  source.onmessage = ({ data }) => {
    waiting.push(data);
    if (waiting.length === 1) {
      setTimeout(() => {
        onLines(waiting);
        waiting = [];
      }, 100);
    }
  };
}

function setAnswer(answer) {
  return fetch('answer', { method: 'POST', headers: { 'X-Collect': '1' }, body: answer });
}
