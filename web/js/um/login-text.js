// The editor of the login text. It is read entity-encoded and line by line, and stored exactly
// as typed.
import { call } from '../api.js';
import { decodeLines } from '../entities.js';
import { t } from '../i18n.js';
import { $, busy, showError, showStatus } from '../ui.js';
import { isReady, loadInto, trackChanges } from './section.js';

function load(form) {
  return loadInto(
    form,
    async () => {
      const result = await call('SystemUseNotificationDp', 'GetSystemUseNotification');
      $('#login-text-value').value = decodeLines(result.SystemUseNotification || []).join('\n');
    },
    (error) => showError($('.status', form), error),
  );
}

export function initLoginText() {
  const form = $('#login-text');
  trackChanges(form);
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    const status = $('.status', form);
    busy(form, status, async () => {
      if (!isReady(form)) return;
      const text = $('#login-text-value').value;
      // The module needs at least one character after the key; a lone line break stands for
      // "no login text" (the login page hides a text of blank lines).
      await call('SystemUseNotificationDp', 'SetSystemUseNotification', { body: `SystemUseNotification=${text || '\n'}` });
      await load(form);
      showStatus(status, text.trim() ? t('common.saved') : t('um.loginText.cleared'));
    });
  });
  return load(form);
}
