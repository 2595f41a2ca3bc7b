// Who must log in with a second factor: nobody, administrators, or everyone. A host setting of its
// own, saved on its own (not one of the module's policy areas).
import { getSecondFactorPolicy, getSession, setSecondFactorPolicy } from '../api.js';
import { t } from '../i18n.js';
import { $, busy, showError, showStatus } from '../ui.js';
import { isReady, loadInto, markSaved, trackChanges } from './section.js';

function show(form, policy) {
  for (const box of form.querySelectorAll('input[name="policy"]')) box.checked = box.value === policy;
}

export function initSecondFactorPolicy() {
  const form = $('#second-factor-policy');
  const status = $('.status', form);
  const load = () => loadInto(form, async () => show(form, await getSecondFactorPolicy()), (error) => showError(status, error));
  trackChanges(form);
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    busy(form, status, async () => {
      if (!isReady(form)) return;
      const chosen = form.querySelector('input[name="policy"]:checked');
      if (!chosen) return;
      await setSecondFactorPolicy(chosen.value);
      markSaved(form);
      // A policy now requiring a second factor of this administrator holds the session at once:
      // its set-up comes next, on the own password page.
      if ((await getSession()).secondFactorEnrolmentRequired) {
        location.assign('/password.html');
        return;
      }
      show(form, await getSecondFactorPolicy());
      showStatus(status, t('common.saved'));
    });
  });
  return load();
}
