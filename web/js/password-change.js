// The change of the own password, used by the password page and by the forced change after login.
// The passwords travel as query parameters, which the host decodes, so they may hold any character.
import { call } from './api.js';
import { maxPasswordBytes, queryString, utf8Length } from './form-body.js';
import { t } from './i18n.js';
import { $, busy, showStatus } from './ui.js';

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
export function bindPasswordChange(form, { currentPassword, onDone }) {
  const status = $('.status', form);
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
