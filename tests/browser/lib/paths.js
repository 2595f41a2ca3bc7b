// Where the build is: KYR_BUILD_DIR (absolute, or relative to the repository), by default build/asan.
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const repoRoot = fileURLToPath(new URL('../../../', import.meta.url));
export const buildDir = path.resolve(repoRoot, process.env.KYR_BUILD_DIR || 'build/asan');
export const webRoot = path.join(repoRoot, 'web');
// The pages as the build ships them (minified, gzip-compressed): what the browser tests serve.
export const shippedWebRoot = path.join(buildDir, 'web');
export const screenshotDir = path.join(buildDir, 'browser-screenshots');
