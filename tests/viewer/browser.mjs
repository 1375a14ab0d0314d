// The page in Debian's Chromium, without a window, opened from its folder as people open it.
import { createRequire } from 'node:module';
import fs from 'node:fs';
import path from 'node:path';
import { pathToFileURL } from 'node:url';
import { folderOf } from './samples.mjs';

const { chromium } = createRequire(path.join(folderOf('KV_VIEWER_MODULES'), 'package.json'))('playwright-core');
const WAIT_MS = 30000;

export const PAGE = path.join(folderOf('KV_VIEWER_PAGE'), 'index.html');
export const SCREENSHOTS = folderOf('KV_VIEWER_SCREENSHOTS');

export async function startBrowser() {
  fs.mkdirSync(SCREENSHOTS, { recursive: true });
  // Root, as which containers run tests, gets no sandbox from Chromium; the page is our own.
  return chromium.launch({ executablePath: process.env.KV_CHROMIUM ?? '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage'] });
}

/** A page whose errors and requests are collected in `problems` and `requests`. */
export async function openPage(browser, { url = pathToFileURL(PAGE).href, ...options } = {}) {
  const context = await browser.newContext({ viewport: { width: 1500, height: 950 }, ...options });
  const page = await context.newPage();
  page.setDefaultTimeout(WAIT_MS);
  page.problems = [];
  page.requests = [];
  page.on('pageerror', (error) => page.problems.push(error.message));
  page.on('console', (message) => ['error', 'warning'].includes(message.type()) && page.problems.push(message.text()));
  page.on('request', (request) => page.requests.push(request.url()));
  await page.goto(url);
  return page;
}

/** Drops files on the page: {name: Buffer}. */
export async function drop(page, files) {
  const content = Object.entries(files).map(([name, bytes]) => [name, Buffer.from(bytes).toString('base64')]);
  const transfer = await page.evaluateHandle((list) => {
    const data = new DataTransfer();
    for (const [name, base64] of list) {
      data.items.add(new File([Uint8Array.from(atob(base64), (c) => c.charCodeAt(0))], name));
    }
    return data;
  }, content);
  await page.dispatchEvent('body', 'dragover', { dataTransfer: transfer });
  await page.dispatchEvent('body', 'drop', { dataTransfer: transfer });
}

export function wide(text) {
  return Buffer.from(text, 'utf16le');
}

export function screenshot(page, name) {
  return page.screenshot({ path: path.join(SCREENSHOTS, `${name}.png`) });
}

/** The texts of a list's rows that exist. */
export function rowsOf(page, list) {
  return page.locator(`#${list} .row`).evaluateAll((rows) =>
    rows.sort((a, b) => a.getAttribute('aria-rowindex') - b.getAttribute('aria-rowindex')).map((row) => [...row.children].map((cell) => cell.textContent)));
}
