// build.mjs MODULES OUTPUT: makes the page, one file that needs nothing else, in the folder OUTPUT. MODULES: the folder in
// which the modules of package-lock.json are installed.
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { makeCatalogue } from './src/catalogue.mjs';

const [modules, output] = process.argv.slice(2).map((folder) => path.resolve(folder));
const here = path.dirname(fileURLToPath(import.meta.url));
const { build } = createRequire(path.join(modules, 'package.json'))('esbuild');

const catalogue = makeCatalogue(path.dirname(here));

// Modules that exist only in the page: the catalogue, and the worker's script as a text.
function virtualModules(contents) {
  return {
    name: 'virtual-modules',
    setup(bundler) {
      bundler.onResolve({ filter: /^kv:/ }, ({ path: name }) => ({ path: name, namespace: 'kv' }));
      bundler.onLoad({ filter: /.*/, namespace: 'kv' }, ({ path: name }) => contents[name]);
    },
  };
}

async function bundle(entry, contents) {
  const result = await build({
    entryPoints: [path.join(here, 'src', entry)],
    bundle: true, write: false, minify: true, format: 'iife', target: 'es2022', charset: 'ascii', legalComments: 'none',
    nodePaths: [path.join(modules, 'node_modules')],
    plugins: [virtualModules({ 'kv:catalogue': { contents: JSON.stringify(catalogue), loader: 'json' }, ...contents })],
    logLevel: 'warning',
  });
  return result.outputFiles[0].text;
}

function read(...names) {
  return fs.readFileSync(path.join(...names), 'utf8');
}

function hashOf(text) {
  return `'sha256-${createHash('sha256').update(text, 'utf8').digest('base64')}'`;
}

const worker = await bundle('worker.mjs', {});
const script = (await bundle('page.mjs', { 'kv:worker': { contents: worker, loader: 'text' } })).replaceAll('</script', '<\\/script');
const style = read(modules, 'node_modules', 'uplot', 'dist', 'uPlot.min.css') + read(here, 'src', 'style.css');
// No origin but the page's own, which viewer/collect serves; from a folder that is none at all.
const policy = [
  "default-src 'none'", `script-src ${hashOf(script)}`, `style-src ${hashOf(style)}`, 'worker-src blob:', "connect-src 'self'",
  "base-uri 'none'", "form-action 'none'",
].join('; ');
const page = read(here, 'src', 'index.html')
  .replace('@POLICY@', () => policy)
  .replace('@STYLE@', () => style)
  .replace('@SCRIPT@', () => script);

const notice = `The page contains uPlot ${JSON.parse(read(modules, 'node_modules', 'uplot', 'package.json')).version}:

${read(modules, 'node_modules', 'uplot', 'LICENSE').trim()}
`;

fs.mkdirSync(output, { recursive: true });
fs.writeFileSync(path.join(output, 'index.html'), page);
fs.writeFileSync(path.join(output, 'NOTICE.txt'), notice);
fs.copyFileSync(path.join(here, 'collect'), path.join(output, 'collect'));
