// Where the build and the sources are. The build folder comes from KYR_BUILD_DIR (absolute, or
// relative to the repository), by default build/asan.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const repoRoot = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '../../..');
export const buildDir = path.resolve(repoRoot, process.env.KYR_BUILD_DIR || 'build/asan');
export const webRoot = path.join(repoRoot, 'web');
export const hostBinary = path.join(buildDir, 'bin', 'wbm-host');
export const moduleLibrary = path.join(buildDir, 'lib', 'libKyr.Services.Modules.Wbm.Um.so');
export const screenshotDir = path.join(buildDir, 'browser-screenshots');

export function settingsFile() {
  const candidates = [
    path.join(buildDir, 'settings', 'UmWbmModuleSettings.xml'),
    path.join(repoRoot, 'settings', 'UmWbmModuleSettings.xml'),
  ];
  return candidates.find((candidate) => fs.existsSync(candidate));
}
