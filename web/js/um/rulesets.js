// The "admin" and "default" password rulesets, every field of both, saved together as the
// module expects them.
import { call } from '../api.js';
import { InputError } from '../errors.js';
import { applyTranslations, t } from '../i18n.js';
import { $, el } from '../ui.js';
import { readUnsigned } from './numbers.js';
import { addPolicySection } from './policies.js';

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
      el('h3', { 'data-i18n': `um.rules.groups.${group}` }),
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

// Fields that mean something only while their switch is on are disabled while it is off.
const dependents = {
  blockReusedPasswords: ['reusedGenerationCount'],
  checkPwChangableInterval: ['allowedPasswordChanges', 'intervalCount', 'intervalType'],
  policyActive: ['daysToExpiration', 'daysToWarning', 'lockUserActive'],
};

function bindDependents(fieldset) {
  for (const [switchKey, keys] of Object.entries(dependents)) {
    const box = fieldset.querySelector(`[data-key="${switchKey}"]`);
    const update = () => {
      for (const key of keys) fieldset.querySelector(`[data-key="${key}"]`).disabled = !box.checked;
    };
    box.addEventListener('change', update);
    update();
  }
}

// What the device would refuse anyway, said before sending.
function checkRuleset(ruleset) {
  const expiration = ruleset.expirationPolicyParameter;
  if (expiration.policyActive && expiration.daysToWarning >= expiration.daysToExpiration) {
    throw new InputError(`${t(`um.rules.names.${ruleset.roleRulesetName}`)}: ${t('errors.module.WarningDaysNotBelowExpirationDays')}`);
  }
}

function show(form, rulesets) {
  const sorted = rulesetNames.map((name) => rulesets.find((r) => r.roleRulesetName === name)).filter(Boolean);
  const fieldsets = sorted.map(rulesetFieldset);
  $('.rulesets', form).replaceChildren(...fieldsets);
  fieldsets.forEach(bindDependents);
  applyTranslations($('.rulesets', form));
  // The new-password fields of the user list check against these rules.
  document.dispatchEvent(new CustomEvent('rulesetsshown', { detail: rulesets }));
}

export function initRulesets() {
  const form = $('#rulesets');
  return addPolicySection({
    form,
    titleKey: 'um.rules.heading',
    read: async () => (await call('UserManagementDp', 'GetPasswordRoleRulesets')).passwordRoleRulesets,
    show: (rulesets) => show(form, rulesets),
    collect: () => {
      const rulesets = [...form.querySelectorAll('fieldset.ruleset')].map(readRuleset);
      if (rulesets.length !== 2) throw new InputError(t('um.rules.notLoaded'));
      rulesets.forEach(checkRuleset);
      return rulesets;
    },
    save: (passwordRoleRulesets) => call('UserManagementDp', 'SetPasswordRoleRulesets', { json: { passwordRoleRulesets } }),
    savedText: () => t('common.saved'),
  });
}
