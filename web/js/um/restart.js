// Restart of the device: confirm, send, then wait until the device answers again and reload.
import { call } from '../api.js';
import { t } from '../i18n.js';
import { $, confirmDialog, showError, showStatus } from '../ui.js';

const pollMilliseconds = 1000;
const giveUpSeconds = 180;

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function deviceAnswers() {
  try {
    const response = await fetch('/api/session', { cache: 'no-store' });
    return response.ok;
  } catch {
    return false;
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
  await sleep(pollMilliseconds); // give the host time to stop serving
  for (;;) {
    const waited = Math.round((Date.now() - started) / 1000);
    showStatus(status, t('um.restart.waiting', { seconds: waited }));
    if (await deviceAnswers()) break;
    if (waited > giveUpSeconds) {
      showStatus(status, t('um.restart.gaveUp'), 'error');
      button.disabled = false;
      return;
    }
    await sleep(pollMilliseconds);
  }
  showStatus(status, t('um.restart.back'));
  location.reload();
}

export function initRestart() {
  $('#restart-button').addEventListener('click', restart);
}
