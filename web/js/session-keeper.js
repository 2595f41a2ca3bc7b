// Keeps a logged-in page usable across the end of its session: two minutes before the host would
// end an idle session a dialog offers to stay logged in, and when a request finds the session
// ended a login dialog opens over the page, so whatever was typed stays, and the request is sent
// again after the login.
import { getSession, login, loginSecondFactor, onActivity, onSessionEnded } from './api.js';
import { t } from './i18n.js';
import { addRevealButton } from './reveal.js';
import { codeOf, recoveryCodeOf } from './second-factor.js';
import { el, field, showStatus } from './ui.js';

// The host ends a session after this long without a request (its default; the API does not say).
export const idleTimeoutMinutes = 30;
const warnBeforeMinutes = 2;

function idleWarning() {
  let timer = null;
  let dialog = null;
  const close = () => {
    if (dialog && dialog.open) dialog.close();
    dialog = null;
  };
  const warn = () => {
    const titleId = 'idle-warning-title';
    dialog = el(
      'dialog',
      { class: 'idle-warning', 'aria-labelledby': titleId },
      el('h2', { id: titleId, text: t('session.idleTitle') }),
      el('p', { text: t('session.idleText', { minutes: warnBeforeMinutes }) }),
      el(
        'div',
        { class: 'actions' },
        // Any request keeps the session; reading the session is the cheapest one.
        el('button', { type: 'button', text: t('session.stay'), onclick: () => getSession().catch(() => {}).finally(close) }),
      ),
    );
    dialog.addEventListener('close', () => dialog && dialog.remove());
    document.body.append(dialog);
    dialog.showModal();
  };
  return () => {
    clearTimeout(timer);
    timer = setTimeout(warn, (idleTimeoutMinutes - warnBeforeMinutes) * 60000);
  };
}

function loginDialog(userName) {
  return new Promise((resolve) => {
    const status = el('p', { class: 'status', hidden: true });
    const titleId = 'relogin-title';
    const form = el(
      'form',
      { novalidate: true },
      el('h2', { id: titleId, text: t('session.endedTitle') }),
      el('p', { text: t('session.endedText') }),
      field('relogin-user', t('fields.username'), { value: userName, autocomplete: 'username', autocapitalize: 'off', spellcheck: 'false' }),
      field('relogin-password', t('fields.password'), { type: 'password', autocomplete: 'current-password' }),
      // A user with a second factor answers the code step here too: an app's code or a recovery code.
      el(
        'div',
        { class: 'relogin-code', hidden: true },
        field('relogin-code', t('session.codeLabel'), { autocomplete: 'one-time-code', autocapitalize: 'off', spellcheck: 'false' }),
      ),
      el(
        'div',
        { class: 'actions' },
        el('button', { type: 'button', class: 'secondary', value: 'cancel', text: t('common.cancel') }),
        el('button', { type: 'submit', text: t('login.submit') }),
      ),
      status,
    );
    const dialog = el('dialog', { 'aria-labelledby': titleId }, form);
    let loggedIn = false;
    let challenge = null;
    const codeField = form.querySelector('#relogin-code');
    form.querySelector('button[value="cancel"]').addEventListener('click', () => dialog.close());
    form.addEventListener('submit', async (event) => {
      event.preventDefault();
      const name = form.querySelector('#relogin-user').value.trim();
      const password = form.querySelector('#relogin-password').value;
      try {
        let answer;
        if (challenge) {
          const code = codeOf(codeField.value);
          answer = await loginSecondFactor(challenge, code ? { code } : { recoveryCode: recoveryCodeOf(codeField.value) });
        } else {
          answer = await login(name, password);
          if (answer.secondFactorRequired) {
            challenge = answer.challenge;
            for (const input of form.querySelectorAll('#relogin-user, #relogin-password')) input.closest('.field').hidden = true;
            form.querySelector('.relogin-code').hidden = false;
            showStatus(status, '', 'ok');
            codeField.focus();
            return;
          }
        }
        // A session that must first change its password or set up a second factor cannot go on here.
        loggedIn = !answer.passwordChangeRequired && !answer.secondFactorEnrolmentRequired;
        dialog.close();
      } catch (error) {
        const wait = error.retryAfter ? ` ${t('login.wait', { seconds: error.retryAfter })}` : '';
        showStatus(status, `${t('login.failed')}${wait}`, 'error');
        form.querySelector('#relogin-password').value = '';
        codeField.value = '';
      }
    });
    dialog.addEventListener('close', () => {
      dialog.remove();
      resolve(loggedIn);
    });
    document.body.append(dialog);
    addRevealButton(form.querySelector('#relogin-password'));
    dialog.showModal();
    form.querySelector(userName ? '#relogin-password' : '#relogin-user').focus();
  });
}

export function keepSession(session) {
  onActivity(idleWarning());
  let pending = null;
  // Requests that fail together share one dialog.
  onSessionEnded(() => {
    pending = pending || loginDialog(session.userName || '').finally(() => (pending = null));
    return pending;
  });
}
