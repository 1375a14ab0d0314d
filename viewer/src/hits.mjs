// Hits: reads them from queue files, captures of requests and recordings, and explains them by the catalogue.

const ACCEPTED = [200, 201, 202];
const MARK = /#([0-9]+)$/;

/** One hit. request: path and query as stored or sent; trackedAt: milliseconds since 1970 or null; answer: see below. */
function makeHit(source, place, request, more) {
  return { source, place, request, trackedAt: null, arrivedAt: null, answer: null, host: null, ...more };
}

function readQueueFile(source, text) {
  const hits = [];
  text.split('\n').forEach((line, i) => {
    if (line !== '' && !line.startsWith('\0')) {
      const mark = MARK.exec(line.replace(/\r$/, ''));
      hits.push(makeHit(source, i + 1, line, { trackedAt: mark ? Number(mark[1]) * 1000 : null, isQueued: true }));
    }
  });
  return { hits, notes: text.endsWith('\n') || text === '' ? [] : [`${source}: The last line has no end; it may be half a hit.`] };
}

// Path and query of an address, without decoding anything.
function pathOf(url) {
  return url.replace(/^[a-z]+:\/\/[^/?#]*/i, '');
}

function hostOf(url) {
  return /^[a-z]+:\/\/([^/?#]*)/i.exec(url)?.[1] ?? null;
}

function readCapture(source, capture) {
  const hits = [];
  capture.log.entries.forEach((entry, i) => {
    const url = String(entry?.request?.url ?? '');
    if (entry?.request?.method === 'POST' && pathOf(url).startsWith('/collect')) {
      const status = Number(entry.response?.status ?? 0);
      const arrivedAt = Date.parse(entry.startedDateTime);
      hits.push(makeHit(source, i + 1, pathOf(url), {
        arrivedAt: Number.isNaN(arrivedAt) ? null : arrivedAt, answer: status || 'none', host: hostOf(url),
      }));
    }
  });
  const others = capture.log.entries.length - hits.length;
  return { hits, notes: others ? [`${source}: ${others} of ${capture.log.entries.length} requests are no hits and are left out.`] : [] };
}

function readRecording(source, text) {
  const hits = [];
  let bad = 0;
  text.split('\n').forEach((line, i) => {
    if (line.trim() === '') {
      return;
    }
    const hit = parseRecorded(source, i + 1, line);
    if (hit) {
      hits.push(hit);
    } else {
      ++bad;
    }
  });
  return { hits, notes: bad ? [`${source}: ${bad} lines are no recorded hits and are left out.`] : [] };
}

/** A hit as viewer/collect writes it: one JSON object; null if it is none. */
export function parseRecorded(source, place, line) {
  try {
    const { path, at, answer, host } = JSON.parse(line);
    if (typeof path !== 'string') {
      return null;
    }
    return makeHit(source, place, path, {
      arrivedAt: typeof at === 'number' ? at * 1000 : null, answer: answer ?? 'none', host: host ?? null,
    });
  } catch {
    return null;
  }
}

function parseJson(text) {
  try {
    return JSON.parse(text);
  } catch {
    return null;
  }
}

/** The hits of a file and sentences about it, or null if it contains none. text: one character for each byte or unit. */
export function readHits(source, text) {
  const start = text.slice(0, 4096).trimStart();
  if (start.startsWith('{')) {
    if (/^\{[^\n]*"path"\s*:/.test(start)) {
      return readRecording(source, text);
    }
    const capture = parseJson(text);
    return Array.isArray(capture?.log?.entries) ? readCapture(source, capture) : null;
  }
  return /(^|\n)[^\n]{0,200}\/collect\?/.test(text.slice(0, 1 << 16)) ? readQueueFile(source, text) : null;
}

/** The parameters of a hit in their order: [{key, value}], with the value as it is; and the mark's text, or null. */
export function parametersOf(request) {
  const query = request.slice(request.indexOf('?') + 1);
  const hash = query.indexOf('#');
  const items = (hash < 0 ? query : query.slice(0, hash)).split('&').filter(Boolean);
  return {
    mark: hash < 0 ? null : query.slice(hash + 1),
    parameters: items.map((item) => {
      const equals = item.indexOf('=');
      return equals < 0 ? { key: item, value: null } : { key: item.slice(0, equals), value: item.slice(equals + 1) };
    }),
  };
}

/** The value as people write it: %20 is a blank. A text that is not encoded properly stays as it is. */
export function decodeValue(value) {
  try {
    return decodeURIComponent(value);
  } catch {
    return value;
  }
}

/** The name and meaning of a parameter. */
export function explainParameter(key, catalogue) {
  const custom = /^(cd|cm)([0-9]+)$/.exec(key);
  if (custom?.[1] === 'cd') {
    const dimension = catalogue.dimensions[custom[2]];
    return dimension
      ? { name: dimension.name, meaning: `dimension ${custom[2]}: ${dimension.value}` }
      : { name: `dimension ${custom[2]}`, meaning: 'a custom dimension that the event catalogue does not have' };
  }
  if (custom) {
    return { name: `metric ${custom[2]}`, meaning: 'a custom metric' };
  }
  const meaning = catalogue.parameters[key];
  return meaning ? { name: key, meaning } : { name: key, meaning: 'unknown: no hit of this system has this parameter' };
}

function operationOf(values, catalogue) {
  if (values.t === 'appview') {
    const sends = values.sc === 'start' ? 'session screen view' : 'screen view';
    return catalogue.operations.find((operation) => operation.sends.startsWith(sends)) ?? null;
  }
  const label = values.el ?? '';
  const fits = (operation) =>
    operation.category === values.ec && operation.action === values.ea &&
    (operation.label === label || operation.labelArgument !== null);
  return values.t === 'event' ? catalogue.operations.find(fits) ?? null : null;
}

function meaningOf(values, operation) {
  switch (values.t) {
    case 'appview':
      return values.sc === 'start' ? `A session begins; screen ${values.cd ?? '?'}` : `Screen ${values.cd ?? '?'} was viewed`;
    case 'exception':
      return `Exception ${values.exd ?? ''}${values.exf === '0' ? ', not fatal' : ', fatal'}`;
    case 'event': {
      const text = [values.ec, values.ea, values.el].filter(Boolean).join(' / ');
      const ending = values.sc === 'end' ? '; the session ends' : '';
      return operation ? `${text}${ending}` : `${text}${ending} (no event of the catalogue)`;
    }
    default:
      return 'unknown kind of hit';
  }
}

// Number of the milliseconds in a queue time, which may be written with an exponent.
function queueTimeOf(values) {
  return /^[0-9.]+(e\+[0-9]+)?$/.test(values.qt ?? '') ? Number(values.qt) : null;
}

function findReasons(hit, parameters, mark, values, catalogue) {
  const reasons = [];
  const need = (isGood, reason) => isGood || reasons.push(reason);
  // eslint-disable-next-line no-control-regex
  need(!/[\0-\x1f\x7f]/.test(hit.request), 'It contains control characters: the line was damaged or edited.');
  need(!/[^\0-\x7f]/.test(hit.request), 'It contains characters beyond ASCII, which are neither stored nor sent whole.');
  need(hit.request.startsWith('/collect?'), 'It does not begin with "/collect?".');
  need(values.v === '1', `The protocol version (v) is ${values.v === undefined ? 'missing' : `"${values.v}"`} instead of 1.`);
  need(values.tid, 'The property id (tid) is missing: the server does not know whose hit it is.');
  need(values.cid, 'The client id (cid) is missing.');
  need(!values.cid || /^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$/i.test(values.cid), 'The client id (cid) is no UUID.');
  need(['appview', 'event', 'exception'].includes(values.t),
    values.t === undefined ? 'The kind of hit (t) is missing; the line may be cut off.' : `The kind of hit (t) is unknown: "${values.t}".`);
  need(values.t !== 'event' || values.ec, 'An event needs a category (ec).');
  need(values.t !== 'event' || values.ea, 'An event needs an action (ea).');
  need(values.t !== 'appview' || values.cd, 'A screen view needs the name of the screen (cd).');
  need(values.ev === undefined || /^[0-9]+$/.test(values.ev), `The value (ev) is no number: "${values.ev}".`);
  need(values.qt === undefined || queueTimeOf(values) !== null, `The queue time (qt) is no number: "${values.qt}".`);
  findBadParameters(parameters, catalogue, reasons);
  need(mark === null || /^[0-9]+$/.test(mark.replace(/\r$/, '')),
    'There is a "#" inside a value: everything behind it is lost when the hit is sent.');
  return reasons;
}

function findBadParameters(parameters, catalogue, reasons) {
  const seen = new Set();
  for (const { key, value } of parameters) {
    if (value === null) {
      reasons.push(`"${key}" has no "=": probably an "&" inside the value before it.`);
    } else if (seen.has(key)) {
      reasons.push(`The parameter ${key} occurs twice.`);
    } else if (!/^c[dm][0-9]+$/.test(key) && !(key in catalogue.parameters)) {
      reasons.push(`The parameter "${key}" does not exist; an "&" inside the value before it would look like this.`);
    }
    if (value !== null && /^cm[0-9]+$/.test(key) && !/^-?[0-9.]+$/.test(value)) {
      reasons.push(`The metric ${key} is no number: "${value}".`);
    }
    seen.add(key);
  }
}

/** A hit with all that the table shows. now: milliseconds since 1970. */
export function explainHit(hit, catalogue, now) {
  const { parameters, mark } = parametersOf(hit.request);
  const values = {};
  for (const { key, value } of parameters) {
    values[key] ??= value === null ? undefined : decodeValue(value);
  }
  const operation = operationOf(values, catalogue);
  const queueTime = queueTimeOf(values);
  const trackedAt = hit.trackedAt ?? (hit.arrivedAt !== null && queueTime !== null ? hit.arrivedAt - queueTime : null);
  return {
    ...hit,
    values,
    parameters: parameters.map(({ key, value }) => ({
      key, value: value === null ? '' : decodeValue(value), raw: value ?? '', ...explainParameter(key, catalogue),
    })),
    dimensions: parameters
      .filter(({ key, value }) => /^c[dm][0-9]+$/.test(key) && value !== null)
      .map(({ key, value }) => ({ name: explainParameter(key, catalogue).name, value: decodeValue(value) })),
    operation,
    meaning: meaningOf(values, operation),
    trackedAt,
    queueTime,
    age: hit.isQueued ? (hit.trackedAt === null ? null : now - hit.trackedAt) : queueTime,
    isRefused: hit.answer !== null && !ACCEPTED.includes(hit.answer),
    reasons: findReasons(hit, parameters, mark, values, catalogue),
    missing: missingDimensions(values, operation),
  };
}

function missingDimensions(values, operation) {
  return (operation?.dimensions ?? []).filter((number) => values[`cd${number}`] === undefined);
}

/** Numbers the sessions of explained hits, in their order: a session begins with sc=start and belongs to a client. */
export function numberSessions(hits) {
  const current = new Map();
  let count = 0;
  for (const hit of hits) {
    const client = `${hit.source} ${hit.values.cid ?? ''} ${hit.values.tid ?? ''}`;
    if (hit.values.sc === 'start' || !current.has(client)) {
      current.set(client, ++count);
    }
    hit.session = current.get(client);
    if (hit.values.sc === 'end') {
      current.delete(client);
    }
  }
  return hits;
}
