// The rules of a password ruleset, checked while a new password is typed. The counting follows the
// device's: letters and digits are ASCII only, a symbol counts when it is one of the allowed
// symbols, every non-ASCII character counts as non-ASCII. The device stays the judge; rules the
// page cannot check (reuse of an earlier password, the block list) are listed without a tick.
import { maxPasswordBytes, utf8Length } from './form-body.js';
import { t } from './i18n.js';
import { el } from './ui.js';

export function countCharacters(password, allowedSymbols) {
  const counts = { characters: 0, upper: 0, lower: 0, digits: 0, symbols: 0, nonAscii: 0, badSymbol: false, control: false };
  for (const character of password) {
    counts.characters += 1;
    const code = character.codePointAt(0);
    if (code >= 0x80) counts.nonAscii += 1;
    else if (character >= 'A' && character <= 'Z') counts.upper += 1;
    else if (character >= 'a' && character <= 'z') counts.lower += 1;
    else if (character >= '0' && character <= '9') counts.digits += 1;
    else if (code < 0x20 || code === 0x7f) counts.control = true;
    else if (allowedSymbols.includes(character)) counts.symbols += 1;
    else counts.badSymbol = true;
  }
  return counts;
}

// [{ key, text, met: true | false | null }] for a password of a user under a ruleset's
// passwordPolicyParameter; met is null where only the device can tell.
export function checkRules(policy, password, userName = '') {
  const c = countCharacters(password, policy.allowedASCIISymbols || '');
  const rules = [];
  const minimum = (key, have, count) => {
    if (count > 0) rules.push({ key, text: t(`rules.${key}`, { count }), met: have >= count });
  };
  minimum('length', c.characters, Math.max(policy.minCharCount, 1));
  minimum('letters', c.upper + c.lower, policy.minASCIICount);
  minimum('mixedCase', Math.min(c.upper, c.lower), policy.minMixedCharCount);
  minimum('digits', c.digits, policy.minNumberCount);
  minimum('symbols', c.symbols, policy.minSymbolCount);
  minimum('nonAscii', c.nonAscii, policy.minUnicodeCount);
  const symbols = policy.allowedASCIISymbols ? t('rules.allowedSymbols', { symbols: policy.allowedASCIISymbols }) : t('rules.noSymbols');
  rules.push({ key: 'allowedSymbols', text: symbols, met: !c.badSymbol && !c.control });
  rules.push({ key: 'maxBytes', text: t('rules.maxBytes', { max: maxPasswordBytes }), met: utf8Length(password) <= maxPasswordBytes });
  if (policy.blockUsername) {
    const contains = userName.length >= 3 && asciiLower(password).includes(asciiLower(userName));
    rules.push({ key: 'userName', text: t('rules.userName'), met: !contains });
  }
  if (policy.checkBlockList) rules.push({ key: 'blockList', text: t('rules.blockList'), met: null });
  if (policy.blockReusedPasswords) {
    rules.push({ key: 'reused', text: t('rules.reused', { count: policy.reusedGenerationCount }), met: null });
  }
  return rules;
}

function asciiLower(text) {
  return text.replace(/[A-Z]/g, (letter) => letter.toLowerCase());
}

// A list beside a new-password field showing each rule ticked or not while typing.
// options: policy() → passwordPolicyParameter, or null while the rules are unknown; userName() → string.
export function attachRuleList(input, { policy, userName = () => '' }) {
  const id = `${input.id}-rules`;
  const list = el('ul', { id, class: 'rules' });
  const heading = el('p', { class: 'rules-heading', 'data-rules-heading': '' });
  const box = el('div', { class: 'rule-box' }, heading, list);
  (input.closest('.reveal-wrap') || input).after(box);
  const describedBy = (input.getAttribute('aria-describedby') || '').split(' ').filter(Boolean);
  input.setAttribute('aria-describedby', [...describedBy, id].join(' '));
  const update = () => {
    const current = policy();
    // Where the session may not read the rules (the own password of a user who is no
    // administrator, a forced change), the device names the broken ones on sending.
    heading.textContent = t(current ? 'rules.heading' : 'rules.unknown');
    list.hidden = !current;
    if (!current) return;
    list.replaceChildren(
      ...checkRules(current, input.value, userName()).map(({ key, text, met }) => {
        const state = met === null ? 'device' : met ? 'met' : 'unmet';
        return el(
          'li',
          { class: `rule ${state}`, 'data-rule': key },
          el('span', { class: 'mark', 'aria-hidden': 'true', text: { met: '✓', unmet: '✗', device: '•' }[state] }),
          el('span', { class: 'visually-hidden', text: `${t(`rules.state.${state}`)}: ` }),
          text,
        );
      }),
    );
  };
  input.addEventListener('input', update);
  document.addEventListener('languagechange', update);
  update();
  return { update, element: box };
}
