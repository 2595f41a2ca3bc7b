// The change of the own password, used by the password page and by the forced change after login.
// The passwords travel as query parameters, which the host decodes, so they may hold any character.
import { call } from './api.js';
import { maxPasswordBytes, queryString, utf8Length } from './form-body.js';
import { t } from './i18n.js';
import { attachRuleList } from './password-rules.js';
import { addRevealButtons } from './reveal.js';
import { $, busy, showStatus } from './ui.js';

// The rules of the own ruleset, where the session may read them (administrators); null otherwise,
// and the device's refusal names the broken rules.
export async function ownRules(userName) {
  try {
    const [rules, config] = await Promise.all([
      call('UserManagementDp', 'GetPasswordRoleRulesets'),
      call('UserManagementDp', 'GetUserManagementConfig'),
    ]);
    const own = config.usersConfig.find((user) => user.userName === userName);
    const name = own && own.hasAdminRuleset ? 'admin' : 'default';
    const ruleset = rules.passwordRoleRulesets.find((r) => r.roleRulesetName === name);
    return ruleset ? ruleset.passwordPolicyParameter : null;
  } catch {
    return null;
  }
}

export function checkNewPassword(newPassword, confirmation) {
  if (!newPassword) return t('password.errors.empty');
  if (newPassword !== confirmation) return t('password.errors.mismatch');
  if (utf8Length(newPassword) > maxPasswordBytes) return t('password.errors.tooLong', { max: maxPasswordBytes });
  return '';
}

export async function changeOwnPassword(currentPassword, newPassword, confirmNewPassword) {
  const query = queryString([
    ['currentPassword', currentPassword],
    ['newPassword', newPassword],
    ['confirmNewPassword', confirmNewPassword],
  ]);
  return call('UserManagementInfoDp', 'ChangeCurrentUserPassword', { method: 'POST', query });
}

// form holds #new-password, #confirm-password and, unless currentPassword() is given, #current-password.
// rules: an object whose policy is the own ruleset's passwordPolicyParameter once known.
export function bindPasswordChange(form, { currentPassword, onDone, rules = { policy: null, userName: '' } }) {
  const status = $('.status', form);
  addRevealButtons(form);
  const list = attachRuleList($('[name="newPassword"]', form), { policy: () => rules.policy, userName: () => rules.userName });
  rules.update = list.update;
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    const newField = $('[name="newPassword"]', form);
    const confirmField = $('[name="confirmNewPassword"]', form);
    const currentField = $('[name="currentPassword"]', form);
    const current = currentField ? currentField.value : currentPassword();
    const problem = checkNewPassword(newField.value, confirmField.value);
    if (problem) {
      showStatus(status, problem, 'error');
      (newField.value ? confirmField : newField).focus();
      return;
    }
    busy(form, status, async () => {
      await changeOwnPassword(current, newField.value, confirmField.value);
      form.reset();
      showStatus(status, t('password.changed'), 'ok');
      if (onDone) await onDone();
    });
  });
}
