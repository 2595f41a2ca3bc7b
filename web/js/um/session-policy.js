// The session policy: login waits after failures, session count and lifetime.
import { call } from '../api.js';
import { applyTranslations, t } from '../i18n.js';
import { $, busy, el, showError, showStatus } from '../ui.js';
import { readUnsigned } from './numbers.js';

const countKeys = ['timeoutInitialSeconds', 'timeoutIncrementSeconds', 'timeoutMaximumSeconds', 'maxConcurrentSessionsCount', 'maxSessionTimeMinutes'];
const flagKey = 'issueTimeoutToAdminUsers';

function render(form, policy) {
  const fields = countKeys.map((key) =>
    el(
      'div',
      { class: 'field' },
      el('label', { for: `session-${key}`, 'data-i18n': `um.session.fields.${key}` }),
      el('input', { id: `session-${key}`, type: 'number', min: 0, step: 1, inputmode: 'numeric', value: policy[key] }),
    ),
  );
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

async function load(form) {
  try {
    render(form, await call('UserManagementDp', 'GetSessionPolicyConfig'));
  } catch (error) {
    showError($('.status', form), error);
  }
}

export function initSessionPolicy() {
  const form = $('#session-policy');
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    const status = $('.status', form);
    busy(form, status, async () => {
      const sessionPolicyParameter = {};
      for (const key of countKeys) {
        sessionPolicyParameter[key] = readUnsigned($(`#session-${key}`), t(`um.session.fields.${key}`));
      }
      sessionPolicyParameter[flagKey] = $(`#session-${flagKey}`).checked;
      // The setter wants the six values wrapped; the getter answers them flat.
      await call('UserManagementDp', 'SetSessionPolicyConfig', { json: { sessionPolicyParameter } });
      showStatus(status, t('common.saved'));
      await load(form);
    });
  });
  return load(form);
}
