// measure.mjs LOG [MEBIBYTES]: how long the page takes to show a large log, the times of frames and the memory. LOG is a log of
// real runs with all prefixes, such as eight.log; its lines are repeated, with date and counter moved on, up to that size
// (100). The environment is that of the test viewer_page.
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { openPage, startBrowser } from './browser.mjs';

const [source, size = '100'] = process.argv.slice(2);
const STEP_SECONDS = 3;
const FRAMES = 90;

function moved(line, seconds) {
  return line.replace(/^(\S+) (\d\d):(\d\d):(\d\d) (\d{10})/, (_, date, hours, minutes, own, counter) => {
    const time = (hours * 3600 + minutes * 60 + Number(own) + seconds) % 86400;
    const pad = (number) => String(Math.floor(number)).padStart(2, '0');
    const count = String((Number(counter) + seconds * 1e6) % 1e10).padStart(10, '0');
    return `${date} ${pad(time / 3600)}:${pad((time % 3600) / 60)}:${pad(time % 60)} ${count}`;
  });
}

function writeLargeLog(file) {
  const lines = fs.readFileSync(source).toString('utf16le').split(/\r+\n/).slice(0, -1);
  const handle = fs.openSync(file, 'w');
  for (let written = 0, copy = 0; written < Number(size) * 1048576; ++copy) {
    const text = lines.map((line) => moved(line, copy * STEP_SECONDS) + '\r\n').join('');
    written += fs.writeSync(handle, Buffer.from(text, 'utf16le'));
  }
  fs.closeSync(handle);
}

// Processor milliseconds and resident bytes of the browser's pages, all of which are ours.
function pageProcesses() {
  let milliseconds = 0;
  let bytes = 0;
  for (const process of fs.readdirSync('/proc').filter((name) => /^\d+$/.test(name))) {
    try {
      if (fs.readFileSync(`/proc/${process}/cmdline`, 'utf8').includes('--type=renderer')) {
        const fields = fs.readFileSync(`/proc/${process}/stat`, 'utf8').split(') ')[1].split(' ');
        milliseconds += (Number(fields[11]) + Number(fields[12])) * 10;
        bytes = Math.max(bytes, Number(fields[21]) * 4096);
      }
    } catch {
      // It has ended meanwhile.
    }
  }
  return { milliseconds, bytes };
}

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'viewer-'));
const file = path.join(folder, 'large.log');
writeLargeLog(file);
const browser = await startBrowser();
const page = await openPage(browser);
await page.evaluate(() => {
  document.getElementById('files').addEventListener('change', () => (window.begin = performance.now()), true);
  new MutationObserver(() => {
    if (window.begin && document.querySelector('#lines .row > *')) {
      requestAnimationFrame(() => (window.end ??= performance.now()));
    }
  }).observe(document.body, { subtree: true, childList: true });
});
const before = pageProcesses();
await page.setInputFiles('#files', file);
await page.waitForFunction(() => window.end, null, { timeout: 120000 });
const after = pageProcesses();

// Times of frames while a step is repeated, and the processor time that the page takes for one.
async function measureFrames(step) {
  const start = pageProcesses();
  const result = await page.evaluate(async ([count, text]) => {
    const list = document.querySelector('#lines .list');
    const timeline = document.getElementById('timeline');
    const press = (key) => timeline.dispatchEvent(new KeyboardEvent('keydown', { key, bubbles: true }));
    const run = { lines: () => (list.scrollTop += 400), zoom: (i) => press(i < count / 2 ? '+' : '-'), lanes: (i) => (timeline.scrollTop = i * 5) }[text];
    press('Home');
    const times = [];
    for (let i = 0; i < count; ++i) {
      const begin = performance.now();
      run(i);
      await new Promise(requestAnimationFrame);
      times.push(performance.now() - begin);
    }
    times.sort((a, b) => a - b);
    const at = (part) => Math.round(times[Math.floor(part * (count - 1))]);
    return { medianMs: at(0.5), ms95: at(0.95), mostMs: at(1) };
  }, [FRAMES, step]);
  return { ...result, processorMs: Math.round((pageProcesses().milliseconds - start.milliseconds) / FRAMES) };
}

const frames = {};
for (const step of ['lines', 'zoom', 'lanes']) {
  frames[step] = await measureFrames(step);
}
console.log(JSON.stringify({
  lines: await page.locator('#line-count').textContent(),
  firstPictureMs: Math.round(await page.evaluate(() => window.end - window.begin)),
  processorMs: after.milliseconds - before.milliseconds,
  residentMiB: Math.round(pageProcesses().bytes / 1048576),
  frames, problems: page.problems, load: os.loadavg().map((load) => Math.round(load)),
}, null, 1));
await browser.close();
fs.rmSync(folder, { recursive: true });
