// Restart of the device: confirm, send, then wait until the device answers again. A restart ends
// every session, so the device is back once it answers without ours; then log in again.
import { call } from '../api.js';
import { t } from '../i18n.js';
import { goToLogin } from '../shell.js';
import { $, confirmDialog, showError, showStatus } from '../ui.js';

const pollMilliseconds = 1000;
const giveUpSeconds = 180;

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function restarted() {
  try {
    const response = await fetch('/api/session', { cache: 'no-store' });
    return response.ok && !(await response.json()).loggedIn;
  } catch {
    return false; // refused while the device restarts
  }
}

async function restart() {
  const button = $('#restart-button');
  const status = $('#restart-status');
  if (!(await confirmDialog(t('um.restart.question'), t('um.restart.button')))) return;
  button.disabled = true;
  try {
    await call('UserManagementDp', 'RestartSystem', { method: 'POST' });
  } catch (error) {
    showError(status, error);
    button.disabled = false;
    return;
  }
  const started = Date.now();
  for (;;) {
    await sleep(pollMilliseconds);
    const waited = Math.round((Date.now() - started) / 1000);
    showStatus(status, t('um.restart.waiting', { seconds: waited }));
    if (await restarted()) break;
    if (waited > giveUpSeconds) {
      showStatus(status, t('um.restart.gaveUp'), 'error');
      button.disabled = false;
      return;
    }
  }
  showStatus(status, t('um.restart.back'));
  goToLogin();
}

export function initRestart() {
  $('#restart-button').addEventListener('click', restart);
}
