// Every text the pages name by key exists in every offered language, so no page shows a bare key.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { webRoot } from './lib/paths.js';

function filesBelow(folder, extensions) {
  return fs.readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const full = path.join(folder, entry.name);
    if (entry.isDirectory()) return filesBelow(full, extensions);
    return extensions.includes(path.extname(entry.name)) ? [full] : [];
  });
}

function usedKeys() {
  const keys = new Set();
  const patterns = [/data-i18n="([\w.]+)"/g, /'data-i18n': '([\w.]+)'/g, /\bt\('([\w.]+)'/g];
  for (const file of filesBelow(webRoot, ['.html', '.js'])) {
    const text = fs.readFileSync(file, 'utf8');
    for (const pattern of patterns) for (const match of text.matchAll(pattern)) keys.add(match[1]);
  }
  return keys;
}

function lookup(dictionary, key) {
  return key.split('.').reduce((node, part) => (node && typeof node === 'object' ? node[part] : undefined), dictionary);
}

const { languages } = JSON.parse(fs.readFileSync(path.join(webRoot, 'i18n', 'languages.json'), 'utf8'));

test('English and German are offered', () => {
  assert.deepEqual(languages.map((l) => l.code).sort(), ['de', 'en']);
});

for (const { code } of languages) {
  test(`every used key has a text in ${code}`, () => {
    const dictionary = JSON.parse(fs.readFileSync(path.join(webRoot, 'i18n', `${code}.json`), 'utf8'));
    const missing = [...usedKeys()].filter((key) => typeof lookup(dictionary, key) !== 'string');
    assert.deepEqual(missing, []);
  });
}
