// Every text the pages name by key exists in every offered language, so no page shows a bare key.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { webRoot } from './lib/paths.js';

const read = (file) => fs.readFileSync(path.join(webRoot, file), 'utf8');
const usedKeys = new Set();
for (const file of fs.readdirSync(webRoot, { recursive: true }).filter((name) => /\.(html|js)$/.test(name))) {
  for (const pattern of [/data-i18n="([\w.]+)"/g, /'data-i18n': '([\w.]+)'/g, /\bt\('([\w.]+)'/g]) {
    for (const match of read(file).matchAll(pattern)) usedKeys.add(match[1]);
  }
}
const { languages } = JSON.parse(read('i18n/languages.json'));

for (const { code } of languages) {
  test(`every used key has a text in ${code}`, () => {
    const dictionary = JSON.parse(read(`i18n/${code}.json`));
    const textOf = (key) => key.split('.').reduce((node, part) => (node && typeof node === 'object' ? node[part] : undefined), dictionary);
    assert.deepEqual([...usedKeys].filter((key) => typeof textOf(key) !== 'string'), []);
  });
}
