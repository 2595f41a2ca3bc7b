// The switch that makes login required; it may be switched off only where the device allows it.
import { call } from '../api.js';
import { t } from '../i18n.js';
import { $, confirmDialog, showError, showStatus } from '../ui.js';

let required = true;
let deactivatable = false;

function render() {
  const box = $('#auth-required');
  const reason = $('#auth-reason');
  box.checked = required;
  box.disabled = required && !deactivatable;
  reason.hidden = !box.disabled;
  reason.textContent = box.disabled ? t('um.auth.notDeactivatable') : '';
}

async function load() {
  try {
    [required, deactivatable] = await Promise.all([
      call('UserManagementDp', 'IsUserAuthenticationRequired'),
      call('UserManagementDp', 'IsAuthenticationDeactivatable'),
    ]);
    render();
  } catch (error) {
    showError($('#auth-status'), error);
  }
}

async function onChange(event) {
  const box = event.target;
  const wanted = box.checked;
  const status = $('#auth-status');
  if (!wanted && !(await confirmDialog(t('um.auth.offQuestion'), t('um.auth.switchOff')))) {
    render();
    return;
  }
  box.disabled = true;
  try {
    await call('UserManagementDp', 'SetAuthenticationRequiredState', { body: `userAthenticationEnabled=${wanted}` });
    required = wanted;
    showStatus(status, wanted ? t('um.auth.nowOn') : t('um.auth.nowOff'));
  } catch (error) {
    showError(status, error);
  }
  await load();
  box.focus();
}

export function initAuthRequired() {
  $('#auth-required').addEventListener('change', onChange);
  document.addEventListener('languagechange', render);
  return load();
}
