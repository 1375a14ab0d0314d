import assert from 'node:assert/strict';
import { test } from 'node:test';
import { KIND } from '../../viewer/src/trace-log.mjs';
import { filesIn, folderOf, readLogs } from './samples.mjs';

// The logs that the end-to-end tests have left.
for (const file of filesIn(folderOf('KV_VIEWER_E2E_LOGS'))) {
  test(`every line is known: ${file.split('/').pop()}`, () => {
    const { log } = readLogs(file);
    const unknown = [];
    for (let i = 0; i < log.lines.count; ++i) {
      if ([KIND.unknown, KIND.continuation].includes(log.lines.kind[i])) {
        unknown.push(log.text(i, 200));
      }
    }
    assert.deepEqual(unknown, []);
  });
}
