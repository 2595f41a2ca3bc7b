// Translations: loads /i18n/<lang>.json and fills every element marked with data-i18n
// (text) or data-i18n-attr ("attr:key;attr:key"). The chosen language is remembered per browser.

const storageKey = 'kyr.language';
let dictionary = {};
let current = 'en';

export async function loadLanguages() {
  const response = await fetch('/i18n/languages.json');
  const data = await response.json();
  return data.languages;
}

function pickLanguage(languages) {
  const codes = languages.map((l) => l.code);
  const stored = localStorage.getItem(storageKey);
  if (stored && codes.includes(stored)) return stored;
  for (const wanted of navigator.languages || []) {
    const base = wanted.slice(0, 2).toLowerCase();
    if (codes.includes(base)) return base;
  }
  return codes[0] || 'en';
}

export async function initI18n() {
  const languages = await loadLanguages();
  await setLanguage(pickLanguage(languages), false);
  return languages;
}

// Makes `texts` (the parsed /i18n/<code>.json) the language of t().
export function useDictionary(code, texts) {
  dictionary = texts;
  current = code;
}

export async function setLanguage(code, remember = true) {
  const response = await fetch(`/i18n/${encodeURIComponent(code)}.json`);
  useDictionary(code, await response.json());
  if (remember) localStorage.setItem(storageKey, code);
  document.documentElement.lang = code;
  applyTranslations(document);
  document.dispatchEvent(new CustomEvent('languagechange'));
}

export function currentLanguage() {
  return current;
}

function lookup(key) {
  return key.split('.').reduce((node, part) => (node && typeof node === 'object' ? node[part] : undefined), dictionary);
}

export function has(key) {
  return typeof lookup(key) === 'string';
}

// t('um.users.removed', {name: 'bob'}) → "User bob removed." ; an unknown key shows itself, so a
// missing translation is visible instead of silently empty.
// A text for exactly one thing may have its own key: "<key>One" is used when count is 1.
export function t(key, values = {}) {
  const one = Number(values.count) === 1 ? lookup(`${key}One`) : undefined;
  const text = typeof one === 'string' ? one : lookup(key);
  if (typeof text !== 'string') return key;
  return text.replace(/\{(\w+)\}/g, (whole, name) => (name in values ? String(values[name]) : whole));
}

export function applyTranslations(root) {
  for (const element of root.querySelectorAll('[data-i18n]')) {
    element.textContent = t(element.dataset.i18n);
  }
  for (const element of root.querySelectorAll('[data-i18n-attr]')) {
    for (const pair of element.dataset.i18nAttr.split(';')) {
      const [attribute, key] = pair.split(':');
      if (attribute && key) element.setAttribute(attribute.trim(), t(key.trim()));
    }
  }
}
