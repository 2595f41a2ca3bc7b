// The session policy: login waits after failures, session count and lifetime.
import { call } from '../api.js';
import { InputError } from '../errors.js';
import { applyTranslations, t } from '../i18n.js';
import { $, el } from '../ui.js';
import { readUnsigned } from './numbers.js';
import { addPolicySection } from './policies.js';

const countKeys = ['timeoutInitialSeconds', 'timeoutIncrementSeconds', 'timeoutMaximumSeconds', 'maxConcurrentSessionsCount', 'maxSessionTimeMinutes'];
const flagKey = 'issueTimeoutToAdminUsers';
// The ranges the device accepts.
const ranges = {
  timeoutMaximumSeconds: [0, 86400],
  maxConcurrentSessionsCount: [1, 100],
  maxSessionTimeMinutes: [1, 43200],
};

function show(form, policy) {
  const fields = countKeys.map((key) => {
    const [min, max] = ranges[key] || [0, undefined];
    return el(
      'div',
      { class: 'field' },
      el('label', { for: `session-${key}`, 'data-i18n': `um.session.fields.${key}` }),
      el('input', { id: `session-${key}`, type: 'number', min, max, step: 1, inputmode: 'numeric', value: policy[key] }),
    );
  });
  fields.push(
    el(
      'div',
      { class: 'check' },
      el('input', { id: `session-${flagKey}`, type: 'checkbox', checked: Boolean(policy[flagKey]) }),
      el('label', { for: `session-${flagKey}`, 'data-i18n': `um.session.fields.${flagKey}` }),
    ),
  );
  $('.fields', form).replaceChildren(...fields);
  applyTranslations($('.fields', form));
}

// What the device would refuse anyway, said before sending (and with the field focused).
export function checkSessionPolicy(policy) {
  for (const [key, [min, max]] of Object.entries(ranges)) {
    if (policy[key] < min || policy[key] > max) {
      return { key, text: t('um.session.range', { field: t(`um.session.fields.${key}`), min, max }) };
    }
  }
  if (policy.timeoutInitialSeconds > policy.timeoutMaximumSeconds) {
    return { key: 'timeoutInitialSeconds', text: t('errors.module.InitialTimeoutAboveMaximum') };
  }
  if (policy.timeoutIncrementSeconds > policy.timeoutMaximumSeconds) {
    return { key: 'timeoutIncrementSeconds', text: t('errors.module.IncrementAboveMaximum') };
  }
  return null;
}

function collect() {
  const policy = {};
  for (const key of countKeys) policy[key] = readUnsigned($(`#session-${key}`), t(`um.session.fields.${key}`));
  policy[flagKey] = $(`#session-${flagKey}`).checked;
  const problem = checkSessionPolicy(policy);
  if (problem) {
    $(`#session-${problem.key}`).focus();
    throw new InputError(problem.text);
  }
  return policy;
}

export function initSessionPolicy() {
  const form = $('#session-policy');
  return addPolicySection({
    form,
    titleKey: 'um.session.heading',
    read: () => call('UserManagementDp', 'GetSessionPolicyConfig'),
    show: (policy) => show(form, policy),
    collect,
    // The setter wants the six values wrapped; the getter answers them flat.
    save: (sessionPolicyParameter) => call('UserManagementDp', 'SetSessionPolicyConfig', { json: { sessionPolicyParameter } }),
    savedText: () => t('common.saved'),
  });
}
