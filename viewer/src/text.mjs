// Turns the bytes of a file into UTF-16 code units, whatever their encoding, without copying a well-formed log.

const LINE_FEED = 10;
const SAMPLE_UNITS = 1 << 16;

/** How the bytes of a file were read. `note` is a sentence for the reader, or empty. */
function result(units, encoding, note = '') {
  return { units, encoding, note };
}

function viewOf(bytes, offset, end) {
  const start = bytes.byteOffset + offset;
  const count = (end - offset) >> 1;
  if (start % 2 === 0) {
    return new Uint16Array(bytes.buffer, start, count);
  }
  return new Uint16Array(bytes.buffer.slice(start, start + count * 2));
}

function swapped(units) {
  return units.map((unit) => (unit >> 8) | ((unit & 0xff) << 8));
}

export function unitsOf(text) {
  const units = new Uint16Array(text.length);
  for (let i = 0; i < text.length; ++i) {
    units[i] = text.charCodeAt(i);
  }
  return units;
}

function decodeBytes(bytes) {
  try {
    return { text: new TextDecoder('utf-8', { fatal: true }).decode(bytes), encoding: 'UTF-8' };
  } catch {
    return { text: new TextDecoder('windows-1252').decode(bytes), encoding: 'Windows-1252' };
  }
}

// Signs that not every line is UTF-16LE at even offsets: "\r\n" of eight bits, or line ends with exchanged bytes.
function hasForeignLines(units) {
  for (let i = 0; i < units.length; ++i) {
    const unit = units[i];
    if (unit === 0x0a0d || unit === 0x0a00 || unit === 0x0d00) {
      return true;
    }
  }
  return false;
}

function countZeros(bytes, start, end) {
  const zeros = [0, 0];
  for (let i = start; i < end; ++i) {
    if (bytes[i] === 0) {
      ++zeros[(i - start) & 1];
    }
  }
  return zeros;
}

// Of the bytes from `start` on: 'wide' for UTF-16LE, 'shifted' for UTF-16LE behind a stray byte, otherwise 'narrow'.
function formOf(bytes, start) {
  // Not beyond the end of the line, since the next one can be different.
  const feed = bytes.subarray(start, start + 62).indexOf(LINE_FEED);
  const end = Math.min(start + (feed < 0 ? 62 : feed) + 2, bytes.length);
  const [even, odd] = countZeros(bytes, start, end);
  const least = (end - start) / 8;
  if (odd > even && odd >= least) {
    return 'wide';
  }
  return even >= least ? 'shifted' : 'narrow';
}

// Behind the line feed that ends the wide line at `start`, or behind half a unit that cuts it off.
function endOfWideLine(bytes, start) {
  for (let i = start; i + 1 < bytes.length; ++i) {
    if (bytes[i] === LINE_FEED && bytes[i + 1] === 0) {
      if ((i - start) % 2 === 0) {
        return i + 2;
      }
      if (i >= 2 && bytes[i - 2] === 13 && bytes[i - 1] === 0) {
        return i - 2;
      }
    }
    if (bytes[i] === 13 && bytes[i + 1] === LINE_FEED && bytes[i + 2] !== 0) {
      // A narrow line follows without a line end between them.
      return i + 2;
    }
  }
  return bytes.length;
}

function endOfNarrowLine(bytes, start) {
  const end = bytes.indexOf(LINE_FEED, start);
  return end < 0 ? bytes.length : end + 1;
}

function decodeLineByLine(bytes) {
  const pieces = [];
  const found = new Set();
  for (let start = 0; start < bytes.length; ) {
    let form = formOf(bytes, start);
    if (form === 'shifted') {
      ++start;
      form = 'wide';
    }
    const end = form === 'wide' ? endOfWideLine(bytes, start) : endOfNarrowLine(bytes, start);
    if (form === 'wide') {
      found.add('UTF-16LE');
      pieces.push(new TextDecoder('utf-16le', { ignoreBOM: true }).decode(bytes.subarray(start, end - ((end - start) % 2))));
    } else {
      const { text, encoding } = decodeBytes(bytes.subarray(start, end));
      found.add(encoding);
      pieces.push(text);
    }
    start = Math.max(end, start + 1);
  }
  const encoding = [...found].join(' and ');
  const units = unitsOf(pieces.join(''));
  return found.size > 1
    ? result(units, encoding, `The encodings are mixed (${encoding}); each line is read in its own.`)
    : result(units, encoding, 'Half a character is missing or left over.');
}

/** bytes: a Uint8Array. The code units, the encoding, and a note if something was unusual. */
export function decodeText(bytes) {
  const size = bytes.length;
  if (bytes[0] === 0xff && bytes[1] === 0xfe) {
    const units = viewOf(bytes, 2, size);
    return hasForeignLines(units) ? decodeLineByLine(bytes.subarray(2)) : result(units, 'UTF-16LE with mark');
  }
  if (bytes[0] === 0xfe && bytes[1] === 0xff) {
    return result(swapped(viewOf(bytes, 2, size)), 'UTF-16BE with mark');
  }
  const [even, odd] = countZeros(bytes, 0, Math.min(size, SAMPLE_UNITS * 2));
  const sample = Math.min(size, SAMPLE_UNITS * 2);
  if (bytes.indexOf(0) < 0) {
    const { text, encoding } = decodeBytes(bytes);
    return result(unitsOf(text.replace(/^\ufeff/, '')), encoding);
  }
  if (even > odd * 4 && even > sample / 8) {
    return result(swapped(viewOf(bytes, 0, size)), 'UTF-16BE');
  }
  const units = viewOf(bytes, 0, size);
  if (size % 2 || hasForeignLines(units) || odd * 8 < sample) {
    return decodeLineByLine(bytes);
  }
  return result(units, 'UTF-16LE');
}

/** Whether most of the units are characters of a text. */
export function looksLikeText(units) {
  const count = Math.min(units.length, SAMPLE_UNITS);
  let odd = 0;
  for (let i = 0; i < count; ++i) {
    const unit = units[i];
    if ((unit < 32 && unit !== 9 && unit !== 10 && unit !== 13) || unit === 0xfffd || unit === 0x7f) {
      ++odd;
    }
  }
  return odd * 20 <= count;
}
