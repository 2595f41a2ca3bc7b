// The block list: passwords no user may choose, one a line; more can be added from a text file.
import { call } from '../api.js';
import { InputError } from '../errors.js';
import { maxPasswordBytes, utf8Length } from '../form-body.js';
import { t } from '../i18n.js';
import { $, busy, showError, showStatus } from '../ui.js';

// Lines of a text, without line-break characters and without empty lines.
export function entriesOf(text) {
  return text.split(/\r\n|\r|\n/).filter((line) => line !== '');
}

function checkEntries(entries) {
  entries.forEach((entry, index) => {
    if (utf8Length(entry) > maxPasswordBytes) {
      throw new InputError(t('um.block.tooLong', { line: index + 1, max: maxPasswordBytes }));
    }
  });
}

async function load(form) {
  try {
    const result = await call('UserManagementDp', 'GetPasswordBlockList');
    $('#block-entries').value = result.passwordsBlockList.join('\n');
  } catch (error) {
    showError($('.status', form), error);
  }
}

async function importFile(input, form) {
  const status = $('.status', form);
  const file = input.files[0];
  if (!file) return;
  try {
    const added = entriesOf(await file.text());
    const area = $('#block-entries');
    const current = entriesOf(area.value);
    area.value = [...current, ...added].join('\n');
    showStatus(status, t('um.block.imported', { count: added.length, file: file.name }));
  } catch (error) {
    showError(status, error);
  } finally {
    input.value = '';
  }
}

export function initBlockList() {
  const form = $('#block-list');
  $('#block-import').addEventListener('change', (event) => importFile(event.target, form));
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    const status = $('.status', form);
    busy(form, status, async () => {
      const entries = entriesOf($('#block-entries').value);
      checkEntries(entries);
      await call('UserManagementDp', 'SetPasswordBlockList', { json: { passwordsBlockList: entries } });
      showStatus(status, t('um.block.saved', { count: entries.length }));
      await load(form);
    });
  });
  return load(form);
}
