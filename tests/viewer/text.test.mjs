import assert from 'node:assert/strict';
import { test } from 'node:test';
import { decodeText, looksLikeText } from '../../viewer/src/text.mjs';
import { TraceLog } from '../../viewer/src/trace-log.mjs';
import { messagesOf } from './samples.mjs';

const TEXT = '(I0) one \u00e9\u4e2d\u{1F600}\r\n(WN) two\r\n';

function wide(text) {
  return Buffer.from(text, 'utf16le');
}

function bytesOf(...parts) {
  // A copy, which begins at an even address as a file in memory does.
  return new Uint8Array(Buffer.concat(parts.map((part) => (typeof part === 'string' ? wide(part) : Buffer.from(part)))));
}

function textOf({ units }) {
  return Buffer.from(units.slice().buffer).toString('utf16le');
}

function messages(bytes) {
  const log = new TraceLog();
  log.addFile('a', decodeText(bytes).units);
  return messagesOf(log);
}

for (const [name, bytes, encoding] of [
  ['UTF-16LE without mark', bytesOf(TEXT), 'UTF-16LE'],
  ['UTF-16LE with mark', bytesOf('\ufeff' + TEXT), 'UTF-16LE with mark'],
  ['UTF-16BE with mark', bytesOf(wide('\ufeff' + TEXT).swap16()), 'UTF-16BE with mark'],
  ['UTF-16BE without mark', bytesOf(wide(TEXT).swap16()), 'UTF-16BE'],
  ['UTF-8', bytesOf(Buffer.from(TEXT)), 'UTF-8'],
  ['UTF-8 with mark', bytesOf(Buffer.from('\ufeff' + TEXT)), 'UTF-8'],
]) {
  test(`${name} is recognised and read whole`, () => {
    const decoded = decodeText(bytes);
    assert.equal(decoded.encoding, encoding);
    assert.equal(textOf(decoded), TEXT);
    assert.equal(decoded.note, '');
  });
}

test('eight bits that are no UTF-8 are Windows-1252', () => {
  const decoded = decodeText(bytesOf(Buffer.from('(I0) \u00e9\n', 'latin1')));
  assert.equal(decoded.encoding, 'Windows-1252');
  assert.equal(textOf(decoded), '(I0) \u00e9\n');
});

test('a well-formed log is not copied', () => {
  const bytes = bytesOf(TEXT);
  assert.equal(decodeText(bytes).units.buffer, bytes.buffer);
});

test('mixed encodings are read line by line, each in its own', () => {
  const bytes = bytesOf('(I0) wide one\r\n(I0) wide two\r\n', Buffer.from('(WN) narrow one\r\n(WN) narrow two\r\n'), '(##) wide again\r\n');
  assert.deepEqual(messages(bytes), ['wide one', 'wide two', 'narrow one', 'narrow two', 'wide again']);
  assert.match(decodeText(bytes).note, /mixed \(UTF-16LE and UTF-8\)/);
});

test('one narrow line of odd length in a wide log is recognised', () => {
  assert.deepEqual(messages(bytesOf('(I0) wide\r\n', Buffer.from('(WN) narrow\r\n'), '(I0) cut of')), ['wide', 'narrow', 'cut of']);
});

test('half a unit in the middle costs nothing but itself', () => {
  const bytes = bytesOf('(I0) first line\r\n(I0) second line\r\n', [0x28], '(I0) third line\r\n(I0) fourth line\r\n');
  assert.deepEqual(messages(bytes), ['first line', 'second line', 'third line', 'fourth line']);
});

test('an odd number of bytes loses only the half character', () => {
  const bytes = bytesOf('(I0) first line\r\n(I0) second', [0x78]);
  assert.deepEqual(messages(bytes), ['first line', 'second']);
});

test('an empty file has no units', () => {
  assert.equal(decodeText(new Uint8Array(0)).units.length, 0);
});

test('a picture is no text, a log is', () => {
  const noise = new Uint8Array(20000).map((_, i) => (i * 7919 + (i >> 3) * 104729) & 0xff);
  assert.equal(looksLikeText(decodeText(noise).units), false);
  assert.equal(looksLikeText(decodeText(bytesOf(TEXT)).units), true);
});
