// Starts wbm-host of the build on a free loopback port with a temporary data directory, and stops
// it. The host finds the module beside it and copies the default settings into the data directory;
// it serves the pages as they ship (minified and compressed, built into the build folder's web).
// It may serve HTTP or HTTPS (with a certificate of its own): both start lines are understood.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { buildDir, shippedWebRoot } from './paths.js';

// adminPassword: null lets the host generate one. options.args: further wbm-host options;
// options.dataDir: a data directory kept by the caller.
export async function startHost(adminPassword, { args: extra = [], dataDir: givenDir } = {}) {
  const dataDir = givenDir || fs.mkdtempSync(path.join(os.tmpdir(), 'wbm-browser-data-'));
  const given = adminPassword === null ? [] : ['--admin-password', adminPassword];
  const args = ['--listen', '127.0.0.1:0', '--data-dir', dataDir, '--web-root', shippedWebRoot, '--hash-cost', 'min',
    ...given, ...extra];
  const child = spawn(path.join(buildDir, 'bin', 'wbm-host'), args);
  let log = '';
  const ended = new Promise((resolve) => child.on('close', (code, signal) => resolve(signal ?? code)));
  const baseUrl = await new Promise((resolve, reject) => {
    const fail = (why) => reject(new Error(`wbm-host ${why} (KYR_BUILD_DIR selects the build):\n${log}`));
    const keep = (chunk) => {
      log = (log + chunk).slice(-20000);
      const listening = /^Listening on (https?:\S+)$/m.exec(log);
      if (listening) resolve(listening[1]);
    };
    child.stdout.on('data', keep);
    child.stderr.on('data', keep);
    child.on('error', (error) => fail(`did not start: ${error.message}`));
    ended.then((how) => fail(`ended (${how}) before it listened`));
    setTimeout(() => fail('did not listen within 60 s'), 60000).unref();
  }).catch((error) => {
    child.kill('SIGKILL');
    throw error;
  });
  return {
    baseUrl,
    log: () => log,
    async stop() {
      child.kill('SIGTERM');
      const kill = setTimeout(() => child.kill('SIGKILL'), 15000);
      await ended;
      clearTimeout(kill);
      if (!givenDir) fs.rmSync(dataDir, { recursive: true, force: true });
    },
  };
}
