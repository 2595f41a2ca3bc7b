// The live sessions as a table: user, source address, login time, last activity and expiry, the
// own one marked; every other one can be ended after a confirmation. Administrators see all
// sessions, other users their own (the host decides which).
import { endSession, listSessions } from './api.js';
import { currentLanguage, t } from './i18n.js';
import { $, clearStatus, confirmDialog, el, showError, showStatus } from './ui.js';

export function formatTime(value) {
  if (value === null || value === undefined || value === '') return '';
  const date = new Date(value);
  if (Number.isNaN(date.getTime())) return String(value);
  return date.toLocaleString(currentLanguage(), { dateStyle: 'short', timeStyle: 'medium' });
}

function sessionRow(session, onEnd) {
  const cell = (key, text) => el('td', { 'data-label': t(key), text });
  const user = el('th', { scope: 'row' }, session.userName || '');
  if (session.own) user.append(' ', el('span', { class: 'tag', text: t('liveSessions.own') }));
  const action = session.own
    ? el('td', {})
    : el(
        'td',
        {},
        el('button', {
          type: 'button',
          class: 'secondary',
          text: t('liveSessions.end'),
          'aria-label': t('liveSessions.endNamed', { user: session.userName || '', address: session.sourceAddress || '' }),
          onclick: () => onEnd(session),
        }),
      );
  return el(
    'tr',
    {},
    user,
    cell('liveSessions.source', session.sourceAddress || ''),
    cell('liveSessions.loginTime', formatTime(session.loginTime)),
    cell('liveSessions.lastActivity', formatTime(session.lastActivity)),
    cell('liveSessions.expires', session.expires === null ? t('liveSessions.noExpiry') : formatTime(session.expires)),
    action,
  );
}

// Fills `section` (holding a table with a tbody, and a .status line) and keeps it current across
// language changes. Resolves once the first list is shown.
export function bindSessionList(section) {
  const body = $('tbody', section);
  const status = $('.status', section);
  let sessions = [];

  const render = () => {
    body.replaceChildren(...sessions.map((session) => sessionRow(session, end)));
    $('.empty', section).hidden = sessions.length > 0;
  };

  async function load() {
    try {
      sessions = await listSessions();
      render();
    } catch (error) {
      showError(status, error);
    }
  }

  async function end(session) {
    const question = t('liveSessions.endQuestion', { user: session.userName || '', address: session.sourceAddress || '' });
    if (!(await confirmDialog(question, t('liveSessions.end')))) return;
    clearStatus(status);
    try {
      await endSession(session.handle);
      showStatus(status, t('liveSessions.ended', { user: session.userName || '' }));
    } catch (error) {
      showError(status, error);
    }
    await load();
  }

  document.addEventListener('languagechange', render);
  $('.reload', section).addEventListener('click', () => {
    clearStatus(status);
    load();
  });
  return load();
}
