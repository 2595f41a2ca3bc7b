// The "admin" and "default" password rulesets, every field of both, saved together as the
// module expects them.
import { call } from '../api.js';
import { InputError } from '../errors.js';
import { applyTranslations, t } from '../i18n.js';
import { $, busy, el, showError, showStatus } from '../ui.js';
import { readUnsigned } from './numbers.js';

const rulesetNames = ['admin', 'default'];
const intervals = ['Hour', 'Day', 'Week', 'Month'];

// Form layout, grouped for the reader; keys are written back in the order the module reads them.
const groups = [
  ['composition', ['minCharCount', 'minASCIICount', 'minMixedCharCount', 'minNumberCount', 'minSymbolCount', 'minUnicodeCount', 'allowedASCIISymbols']],
  ['checks', ['blockUsername', 'checkBlockList', 'blockReusedPasswords', 'reusedGenerationCount']],
  ['changes', ['checkPwChangableInterval', 'allowedPasswordChanges', 'intervalCount', 'intervalType']],
  ['expiration', ['policyActive', 'daysToExpiration', 'daysToWarning', 'lockUserActive']],
];
const passwordKeys = ['allowedASCIISymbols', 'reusedGenerationCount', 'allowedPasswordChanges', 'intervalType', 'intervalCount', 'blockUsername', 'blockReusedPasswords', 'checkBlockList', 'checkPwChangableInterval', 'minCharCount', 'minASCIICount', 'minMixedCharCount', 'minNumberCount', 'minSymbolCount', 'minUnicodeCount'];
const expirationKeys = ['policyActive', 'lockUserActive', 'daysToExpiration', 'daysToWarning'];
const boolKeys = new Set(['blockUsername', 'blockReusedPasswords', 'checkBlockList', 'checkPwChangableInterval', 'policyActive', 'lockUserActive']);

let loaded = null;

function control(name, key, value) {
  const id = `${name}-${key}`;
  const label = () => el('label', { for: id, 'data-i18n': `um.rules.fields.${key}` });
  if (boolKeys.has(key)) {
    return el('div', { class: 'check' }, el('input', { id, type: 'checkbox', checked: Boolean(value), 'data-key': key }), label());
  }
  if (key === 'intervalType') {
    const select = el('select', { id, 'data-key': key });
    for (const interval of intervals) select.append(el('option', { value: interval, 'data-i18n': `um.rules.intervals.${interval}` }));
    if (!intervals.includes(value)) select.append(el('option', { value, text: value }));
    select.value = value;
    return el('div', { class: 'field' }, label(), select);
  }
  if (key === 'allowedASCIISymbols') {
    return el('div', { class: 'field wide' }, label(), el('input', { id, value, maxlength: 63, spellcheck: 'false', 'data-key': key }));
  }
  return el('div', { class: 'field' }, label(), el('input', { id, type: 'number', min: 0, step: 1, inputmode: 'numeric', value, 'data-key': key }));
}

function rulesetFieldset(ruleset) {
  const name = ruleset.roleRulesetName;
  const values = { ...ruleset.passwordPolicyParameter, ...ruleset.expirationPolicyParameter };
  const fieldset = el('fieldset', { class: 'ruleset', 'data-ruleset': name }, el('legend', { 'data-i18n': `um.rules.names.${name}` }));
  for (const [group, keys] of groups) {
    fieldset.append(
      el('h4', { 'data-i18n': `um.rules.groups.${group}` }),
      el('div', { class: 'grid' }, ...keys.map((key) => control(name, key, values[key]))),
    );
  }
  return fieldset;
}

function readRuleset(fieldset) {
  const value = (key) => {
    const input = fieldset.querySelector(`[data-key="${key}"]`);
    if (boolKeys.has(key)) return input.checked;
    if (key === 'intervalType') return input.value;
    if (key === 'allowedASCIISymbols') return input.value; // the service checks the set
    const label = `${t(`um.rules.names.${fieldset.dataset.ruleset}`)}: ${t(`um.rules.fields.${key}`)}`;
    return readUnsigned(input, label);
  };
  return {
    roleRulesetName: fieldset.dataset.ruleset,
    passwordPolicyParameter: Object.fromEntries(passwordKeys.map((key) => [key, value(key)])),
    expirationPolicyParameter: Object.fromEntries(expirationKeys.map((key) => [key, value(key)])),
  };
}

function render(form) {
  const sorted = rulesetNames.map((name) => loaded.find((r) => r.roleRulesetName === name)).filter(Boolean);
  $('.rulesets', form).replaceChildren(...sorted.map(rulesetFieldset));
  applyTranslations($('.rulesets', form));
}

async function load(form) {
  try {
    const result = await call('UserManagementDp', 'GetPasswordRoleRulesets');
    loaded = result.passwordRoleRulesets;
    render(form);
  } catch (error) {
    showError($('.status', form), error);
  }
}

export function initRulesets() {
  const form = $('#rulesets');
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    const status = $('.status', form);
    busy(form, status, async () => {
      const rulesets = [...form.querySelectorAll('fieldset.ruleset')].map(readRuleset);
      if (rulesets.length !== 2) throw new InputError(t('um.rules.notLoaded'));
      await call('UserManagementDp', 'SetPasswordRoleRulesets', { json: { passwordRoleRulesets: rulesets } });
      showStatus(status, t('common.saved'));
      await load(form);
    });
  });
  return load(form);
}
