// What wbm-host says when it starts: the initial password as a block of its own on the first
// start, and that --admin-password is ignored once the database exists; the run script's help.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { startHost } from './lib/host.js';
import { repoRoot } from './lib/paths.js';

test('a generated initial password stands apart on the first start; a given one is never printed, later ones are said to be ignored', async () => {
  const dataDir = fs.mkdtempSync(path.join(os.tmpdir(), 'wbm-start-'));
  try {
    const first = await startHost(null, { dataDir });
    await first.stop();
    const rule = '='.repeat(72);
    // An empty line before and after, whatever the log wrote before.
    assert.match(
      `\n${first.log()}`,
      new RegExp(`\n\n${rule}\nInitial password of user "admin": [A-Za-z0-9._~-]{12,}\nIt must be changed at the first login.\n${rule}\n\n`),
    );

    const given = await startHost('Given-Admin-1');
    await given.stop();
    assert.doesNotMatch(given.log(), /Initial password|Given-Admin-1/);

    const second = await startHost('Another-Admin-2', { dataDir });
    await second.stop();
    assert.match(second.log(), /--admin-password was ignored: the database already exists/);
    assert.doesNotMatch(second.log(), /Initial password|Another-Admin-2/);
  } finally {
    fs.rmSync(dataDir, { recursive: true, force: true });
  }
});

test('scripts/run.sh --help answers without installing or building anything', () => {
  const answer = spawnSync('bash', [path.join(repoRoot, 'scripts', 'run.sh'), '--help'], { encoding: 'utf8', timeout: 20000 });
  assert.equal(answer.status, 0, answer.stderr);
  assert.match(answer.stdout, /^Usage: scripts\/run\.sh \[--address HOST:PORT\] \[--data-dir DIR\]/);
  assert.doesNotMatch(answer.stdout + answer.stderr, /Building|Configuring|apt-get|Reading package lists/);
});
