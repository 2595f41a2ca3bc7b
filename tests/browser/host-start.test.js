// What wbm-host says when it starts: the initial password as a block of its own on the first
// start, and that --admin-password is ignored once the database exists.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { startHost } from './lib/host.js';

test('the initial password stands apart on the first start; later --admin-password is said to be ignored', async () => {
  const dataDir = fs.mkdtempSync(path.join(os.tmpdir(), 'wbm-start-'));
  try {
    const first = await startHost('First-Start-Admin-1', { dataDir });
    await first.stop();
    const rule = '='.repeat(72);
    // An empty line before and after, whatever the log wrote before.
    assert.ok(
      `\n${first.log()}`.includes(`\n\n${rule}\nInitial password of user "admin": First-Start-Admin-1\nIt must be changed at the first login.\n${rule}\n\n`),
      first.log(),
    );

    const second = await startHost('Another-Admin-2', { dataDir });
    await second.stop();
    assert.match(second.log(), /--admin-password was ignored: the database already exists/);
    assert.doesNotMatch(second.log(), /Initial password|Another-Admin-2/);
  } finally {
    fs.rmSync(dataDir, { recursive: true, force: true });
  }
});
