// Builds the pages as they ship, from the web folder: scripts (ES modules) minified with Terser,
// style sheets with clean-css, translations without white space, the rest as they are; every file
// then gzip-compressed with zopfli. The host sends them compressed, or inflated to a client that does
// not take gzip. The output folder is made anew, so nothing removed from the sources lingers in it.
//
//   node build-pages.mjs SOURCE_FOLDER OUTPUT_FOLDER
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';

import CleanCSS from 'clean-css';
import { minify } from 'terser';

const [source, output] = process.argv.slice(2);
if (!source || !output) {
  console.error('usage: node build-pages.mjs SOURCE_FOLDER OUTPUT_FOLDER');
  process.exit(2);
}

async function minifyScript(text, file) {
  const result = await minify(text, { module: true, compress: { passes: 2 }, mangle: true, format: { comments: false } });
  if (result.code === undefined) throw new Error(`${file}: Terser gave no code`);
  return result.code;
}

function minifyStyleSheet(text, file) {
  const result = new CleanCSS({ level: 1 }).minify(text);
  if (result.errors.length > 0) throw new Error(`${file}: ${result.errors.join('; ')}`);
  return result.styles;
}

// Other files (pages, pictures) go as they are.
async function shippedBytes(file, bytes) {
  const text = () => bytes.toString('utf8');
  switch (path.extname(file)) {
    case '.js': return Buffer.from(await minifyScript(text(), file), 'utf8');
    case '.css': return Buffer.from(minifyStyleSheet(text(), file), 'utf8');
    case '.json': return Buffer.from(JSON.stringify(JSON.parse(text())), 'utf8');
    default: return bytes;
  }
}

// zopfli: gzip that any client inflates, a few per cent smaller than gzip -9; no file time in it,
// so the same sources give the same bytes.
// It reads only files: the shipped text goes through the target's place first.
function writeCompressed(target, bytes) {
  const plain = target.slice(0, -'.gz'.length);
  fs.writeFileSync(plain, bytes);
  fs.writeFileSync(target, execFileSync('zopfli', ['-c', plain], { maxBuffer: 64 * 1024 * 1024 }));
  fs.rmSync(plain);
}

function filesBelow(folder) {
  return fs.readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const full = path.join(folder, entry.name);
    return entry.isDirectory() ? filesBelow(full) : [full];
  });
}

fs.rmSync(output, { recursive: true, force: true });
for (const file of filesBelow(source)) {
  const relative = path.relative(source, file);
  const bytes = await shippedBytes(relative, fs.readFileSync(file));
  const target = path.join(output, `${relative}.gz`);
  fs.mkdirSync(path.dirname(target), { recursive: true });
  writeCompressed(target, bytes);
}
