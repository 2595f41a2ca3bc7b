// The LDAP configuration page: enable switch, upload with progress, download, trust store names.
import { ApiError, call } from './api.js';
import { moduleErrorText } from './errors.js';
import { has, t } from './i18n.js';
import { initDirectoryTest } from './ldap-test.js';
import { parseDownload } from './ldap-text.js';
import { initPage, runPage } from './shell.js';
import { $, busy, el, showError, showStatus } from './ui.js';

const maxUploadBytes = 1024 * 1024; // the host's body limit for logged-in users
let csrfToken = '';

async function loadEnabled() {
  try {
    $('#ldap-enabled').checked = await call('LdapDp', 'IsLdapConfigurationEnabled');
  } catch (error) {
    showError($('#enable-status'), error);
  }
}

async function onEnableChange(event) {
  const box = event.target;
  const status = $('#enable-status');
  box.disabled = true;
  try {
    await call('LdapDp', 'SetLdapConfigurationEnabled', { body: `EnableLdap=${box.checked}` });
    showStatus(status, box.checked ? t('ldap.nowOn') : t('ldap.nowOff'));
  } catch (error) {
    showError(status, error);
  }
  box.disabled = false;
  await loadEnabled();
}

// XMLHttpRequest rather than fetch: only it reports upload progress.
function upload(file, progress) {
  return new Promise((resolve, reject) => {
    const request = new XMLHttpRequest();
    request.open('POST', '/api/LdapDp/SetLdapConfiguration');
    request.setRequestHeader('Content-Type', 'text/plain;charset=UTF-8');
    if (csrfToken) request.setRequestHeader('X-CSRF-Token', csrfToken);
    request.upload.addEventListener('progress', (event) => {
      if (event.lengthComputable) progress.value = Math.round((event.loaded / event.total) * 100);
    });
    request.addEventListener('error', () => reject(new ApiError('network')));
    request.addEventListener('load', () => {
      let data = null;
      try {
        data = JSON.parse(request.responseText);
      } catch {
        data = null;
      }
      if (request.status !== 200) {
        reject(new ApiError('http', { status: request.status, errorText: (data && data.errorText) || '' }));
      } else if (!data || data.error) {
        // The error text is generic; the result code says what the service found wrong.
        const parts = [moduleErrorText(data ? data.errorText : '')];
        if (data && data.result && data.result !== 'NoError') parts.push(moduleErrorText(String(data.result)));
        reject(new ApiError('module', { errorText: parts.join(' – ') }));
      } else {
        progress.value = 100;
        resolve(data.result);
      }
    });
    request.send(file);
  });
}

function bindUpload(form) {
  const status = $('.status', form);
  const progress = $('#upload-progress');
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    busy(form, status, async () => {
      const file = form.file.files[0];
      if (!file) {
        showStatus(status, t('ldap.noFile'), 'error');
        form.file.focus();
        return;
      }
      if (file.size > maxUploadBytes) {
        showStatus(status, t('ldap.tooLarge'), 'error');
        return;
      }
      progress.value = 0;
      progress.hidden = false;
      try {
        await upload(file, progress);
      } finally {
        progress.hidden = true;
      }
      showStatus(status, t('ldap.uploaded', { file: file.name }));
      form.reset();
    });
  });
}

async function fetchConfiguration() {
  const body = await call('LdapDp', 'GetLdapConfiguration');
  const parsed = parseDownload(typeof body === 'string' ? body : JSON.stringify(body));
  if (parsed.error) {
    const known = parsed.error.code && has(`errors.module.${parsed.error.code}`);
    throw new ApiError('module', { errorText: known ? parsed.error.code : parsed.error.text });
  }
  return parsed.text;
}

function bindDownload() {
  const status = $('#download-status');
  const run = (button, action) =>
    button.addEventListener('click', async () => {
      button.disabled = true;
      try {
        showStatus(status, '');
        await action(await fetchConfiguration());
      } catch (error) {
        showError(status, error);
      } finally {
        button.disabled = false;
      }
    });
  run($('#download-button'), async (text) => {
    const url = URL.createObjectURL(new Blob([text], { type: 'text/plain' }));
    const link = el('a', { href: url, download: 'ldap.config', hidden: true });
    document.body.append(link);
    link.click();
    link.remove();
    setTimeout(() => URL.revokeObjectURL(url), 1000);
    showStatus(status, t('ldap.downloaded'));
  });
  run($('#show-button'), async (text) => {
    const preview = $('#ldap-preview');
    preview.textContent = text || t('ldap.empty');
    preview.hidden = false;
  });
}

async function loadTrustStores() {
  const list = $('#trust-stores');
  try {
    const names = await call('LdapDp', 'ListTrustStoresNames');
    list.replaceChildren(...(names.length ? names.map((name) => el('li', { text: name })) : [el('li', { class: 'hint', text: t('ldap.noTrustStores') })]));
  } catch (error) {
    showError($('#trust-status'), error);
  }
}

async function main() {
  const session = await initPage();
  if (!session) return;
  csrfToken = session.csrfToken || '';
  $('#ldap-enabled').addEventListener('change', onEnableChange);
  bindUpload($('#upload-form'));
  bindDownload();
  document.addEventListener('languagechange', loadTrustStores);
  await Promise.all([loadEnabled(), loadTrustStores(), initDirectoryTest(session)]);
  document.body.dataset.ready = 'true';
}

runPage(main);
