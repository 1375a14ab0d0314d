// The page: opens files, asks the worker, and shows what it answers.
import catalogue from 'kv:catalogue';
import workerScript from 'kv:worker';
import { byId, h } from './dom.mjs';
import { droppedFiles, droppedHandles } from './dropped.mjs';
import { HitsView } from './hits-view.mjs';
import { follow, isServed } from './live.mjs';
import { showResults } from './results-view.mjs';
import { TraceView } from './trace-view.mjs';
import { WorkerClient } from './worker-client.mjs';

const VIEWS = ['trace', 'hits', 'results'];

let handles = [];
const worker = new WorkerClient(workerScript, showProgress);
const traceView = new TraceView(worker, catalogue);
const hitsView = new HitsView();

function showProgress({ text, part }) {
  byId('progress').hidden = false;
  byId('progress').textContent = `${text} (${Math.round(part * 100)} %)`;
}

function showSentences(sentences) {
  byId('sentences').replaceChildren(...sentences.map((sentence) => h('p', {}, sentence)));
}

function showView(name) {
  for (const view of VIEWS) {
    byId(`view-${view}`).hidden = view !== name;
    byId(`tab-${view}`).setAttribute('aria-selected', view === name);
    byId(`tab-${view}`).tabIndex = view === name ? 0 : -1;
  }
}

async function show({ trace, hits, results, sentences }, isLive = false) {
  byId('progress').hidden = true;
  const isPresent = { trace: trace !== null, hits: hits.length > 0 || isLive, results: results.length > 0 };
  const first = VIEWS.find((view) => isPresent[view]);
  const isEmpty = first === undefined;
  byId('welcome').hidden = !isEmpty;
  byId('clear').hidden = isEmpty;
  byId('export').hidden = !isPresent.trace;
  byId('reload').hidden = handles.length === 0;
  VIEWS.forEach((view) => (byId(`tab-${view}`).hidden = !isPresent[view]));
  showSentences(sentences);
  showView(isEmpty ? null : first);
  if (isPresent.hits) {
    hitsView.show(hits);
  }
  if (isPresent.results) {
    showResults(results);
  }
  if (isPresent.trace) {
    await traceView.show(trace);
  }
}

async function openFiles(files) {
  if (files.length === 0) {
    return;
  }
  try {
    await show(await worker.ask('open', { files }));
  } catch (error) {
    byId('progress').hidden = true;
    showSentences([`The files cannot be shown: ${error.message}`]);
  }
}

async function readAgain() {
  const files = await Promise.all(handles.map((handle) => handle.getFile()));
  await worker.ask('close');
  await openFiles(files);
}

async function exportTrace() {
  const { blob } = await worker.ask('exportTrace');
  const link = h('a', { href: URL.createObjectURL(blob), download: 'trace-events.json' });
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

function listenToDrops() {
  document.addEventListener('dragover', (event) => {
    event.preventDefault();
    document.body.classList.add('over');
  });
  document.addEventListener('dragleave', (event) => {
    if (event.relatedTarget === null) {
      document.body.classList.remove('over');
    }
  });
  document.addEventListener('drop', async (event) => {
    event.preventDefault();
    document.body.classList.remove('over');
    const [files, fileHandles] = await Promise.all([droppedFiles(event.dataTransfer), droppedHandles(event.dataTransfer)]);
    handles = [...handles, ...fileHandles];
    await openFiles(files);
  });
}

function listenToTabs() {
  for (const view of VIEWS) {
    byId(`tab-${view}`).addEventListener('click', () => showView(view));
    byId(`tab-${view}`).addEventListener('keydown', (event) => {
      const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
      if (step) {
        const present = VIEWS.filter((own) => !byId(`tab-${own}`).hidden);
        const next = present[(present.indexOf(view) + step + present.length) % present.length];
        showView(next);
        byId(`tab-${next}`).focus();
      }
    });
  }
}

function listen() {
  byId('choose').addEventListener('click', () => byId('files').click());
  byId('chooseFolder').addEventListener('click', () => byId('folder').click());
  for (const id of ['files', 'folder']) {
    byId(id).addEventListener('change', async ({ target }) => {
      const files = [...target.files];
      await openFiles(files);
      target.value = '';
    });
  }
  byId('reload').addEventListener('click', () => readAgain().catch(() => showSentences(['The files cannot be read again: drop them once more.'])));
  byId('export').addEventListener('click', exportTrace);
  byId('clear').addEventListener('click', async () => {
    handles = [];
    await show(await worker.ask('close'));
  });
}

async function followLive() {
  await show({ trace: null, hits: [], results: [], sentences: [] }, true);
  follow(async (lines) => {
    const { hits } = await worker.ask('live', { lines });
    hitsView.show(hits, { follow: true });
  });
}

// Files that are part of the page: blocks of data in base64, which are no scripts.
function enclosedFiles() {
  return [...document.querySelectorAll('script[type="application/octet-stream"]')].map((block) =>
    new File([Uint8Array.from(atob(block.textContent.trim()), (c) => c.charCodeAt(0))], block.dataset.name));
}

listen();
listenToDrops();
listenToTabs();
if (isServed()) {
  followLive();
} else {
  openFiles(enclosedFiles());
}
