// Starts wbm-host on a free loopback port with a temporary data directory, and stops it.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { hostBinary, moduleLibrary, settingsFile, webRoot } from './paths.js';

function freePort() {
  return new Promise((resolve, reject) => {
    const server = net.createServer();
    server.once('error', reject);
    server.listen(0, '127.0.0.1', () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

export async function startHost({ adminPassword, extraArgs = [] }) {
  for (const needed of [hostBinary, moduleLibrary]) {
    if (!fs.existsSync(needed)) throw new Error(`${needed} is missing: build wbm-host first (KYR_BUILD_DIR selects the build)`);
  }
  const dataDir = fs.mkdtempSync(path.join(os.tmpdir(), 'wbm-browser-data-'));
  const port = await freePort();
  const args = [
    '--listen', `127.0.0.1:${port}`,
    '--data-dir', dataDir,
    '--module', moduleLibrary,
    '--settings', settingsFile(),
    '--web-root', webRoot,
    '--hash-cost', 'min',
    '--admin-password', adminPassword,
    ...extraArgs,
  ];
  const child = spawn(hostBinary, args, { stdio: ['ignore', 'pipe', 'pipe'] });
  let log = '';
  const keep = (chunk) => {
    log = (log + chunk.toString()).slice(-20000);
  };
  child.stdout.on('data', keep);
  child.stderr.on('data', keep);
  let exited = null;
  child.on('exit', (code, signal) => (exited = { code, signal }));

  const baseUrl = `http://127.0.0.1:${port}`;
  const deadline = Date.now() + 60000;
  for (;;) {
    if (exited) throw new Error(`wbm-host exited (${JSON.stringify(exited)}):\n${log}`);
    try {
      const response = await fetch(`${baseUrl}/api/session`);
      if (response.ok) break;
    } catch {
      // not listening yet
    }
    if (Date.now() > deadline) {
      child.kill('SIGKILL');
      throw new Error(`wbm-host did not answer within 60 s:\n${log}`);
    }
    await sleep(200);
  }

  return {
    baseUrl,
    dataDir,
    log: () => log,
    async stop() {
      if (!exited) {
        child.kill('SIGTERM');
        const until = Date.now() + 15000;
        while (!exited && Date.now() < until) await sleep(100);
        if (!exited) child.kill('SIGKILL');
      }
      fs.rmSync(dataDir, { recursive: true, force: true });
    },
  };
}
