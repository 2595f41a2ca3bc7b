// The LDAP page's directory part: the state of the last contact with the directory
// (GET /api/ldap/status) and the step-by-step connection test (POST /api/ldap/test).
import { ApiError } from './api.js';
import { t } from './i18n.js';
import { $, busy, el, showError, showStatus } from './ui.js';

async function request(url, { body, csrfToken } = {}) {
  const headers = { 'Content-Type': 'application/json' };
  if (csrfToken) headers['X-CSRF-Token'] = csrfToken;
  let response;
  try {
    response = await fetch(url, body === undefined ? { cache: 'no-store' } : { method: 'POST', headers, body, cache: 'no-store' });
  } catch {
    throw new ApiError('network');
  }
  let data = null;
  try {
    data = await response.json();
  } catch {
    data = null;
  }
  if (!response.ok) throw new ApiError('http', { status: response.status, errorText: (data && data.errorText) || '' });
  return data;
}

export function statusText(status) {
  if (!status.attempted) return t('ldapTest.notYetAsked');
  const when = new Date(status.lastAttempt * 1000).toLocaleString(document.documentElement.lang || undefined);
  const text = status.reached ? t('ldapTest.reached', { server: status.server, when }) : t('ldapTest.notReached', { server: status.server, when });
  return status.lastError ? `${text} ${t('ldapTest.lastError', { error: status.lastError })}` : text;
}

async function loadStatus() {
  const target = $('#ldap-status');
  try {
    const status = await request('/api/ldap/status');
    showStatus(target, statusText(status), status.lastError ? 'error' : 'ok');
  } catch (error) {
    // A host without the directory routes has nothing to tell.
    if (error.status !== 404) showError(target, error);
  }
}

function renderSteps(result) {
  const list = $('#ldap-test-steps');
  list.replaceChildren(
    ...result.steps.map((step) =>
      el(
        'li',
        { class: step.succeeded ? 'ok' : 'error' },
        el('strong', { text: `${step.succeeded ? '✓' : '✗'} ${t(`ldapTest.steps.${step.step}`)}` }),
        step.detail ? ` – ${step.detail}` : '',
      ),
    ),
  );
  list.hidden = false;
}

export function initDirectoryTest(session) {
  const form = $('#ldap-test-form');
  // The form's own outcome line, not the directory's status line above it.
  const status = $('.status:not(#ldap-status)', form);
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    busy(form, status, async () => {
      $('#ldap-test-steps').hidden = true;
      const username = form.username.value;
      const body = username ? { username, password: form.password.value } : {};
      const result = await request('/api/ldap/test', { body: JSON.stringify(body), csrfToken: session.csrfToken || '' });
      form.password.value = '';
      renderSteps(result);
      if (result.succeeded) showStatus(status, t('ldapTest.succeeded', { server: result.server }));
      else showStatus(status, t('ldapTest.failed', { step: t(`ldapTest.steps.${result.failedStep}`) }), 'error');
      await loadStatus();
    });
  });
  return loadStatus();
}
