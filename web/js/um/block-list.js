// The block list: passwords no user may choose, one a line; more can be added from a text file.
import { call } from '../api.js';
import { InputError } from '../errors.js';
import { maxPasswordBytes, utf8Length } from '../form-body.js';
import { t } from '../i18n.js';
import { $, showError, showStatus } from '../ui.js';
import { addPolicySection } from './policies.js';

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
  return addPolicySection({
    form,
    titleKey: 'um.block.heading',
    read: async () => (await call('UserManagementDp', 'GetPasswordBlockList')).passwordsBlockList,
    show: (entries) => ($('#block-entries').value = entries.join('\n')),
    collect: () => {
      const entries = entriesOf($('#block-entries').value);
      checkEntries(entries);
      return entries;
    },
    save: (passwordsBlockList) => call('UserManagementDp', 'SetPasswordBlockList', { json: { passwordsBlockList } }),
    savedText: (entries) => t('um.block.saved', { count: entries.length }),
  });
}
