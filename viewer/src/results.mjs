// The measurements that scripts/bench leaves in build/bench.json.

/** {source, rows: [{row, ratio, low, high, goal, isMet}]}; null if the text is something else. */
export function readResults(source, text) {
  let content;
  try {
    content = JSON.parse(text);
  } catch {
    return null;
  }
  if (typeof content?.rows !== 'object' || typeof content.program_bytes !== 'number') {
    return null;
  }
  const rows = Object.entries(content.rows)
    .filter(([, result]) => typeof result.ratio === 'number')
    .map(([row, { ratio, spread, goal, met }]) => ({
      row, ratio, low: spread?.[0] ?? ratio, high: spread?.[1] ?? ratio, goal: goal ?? null, isMet: met ?? null,
    }));
  return { source, programBytes: content.program_bytes, rows };
}
