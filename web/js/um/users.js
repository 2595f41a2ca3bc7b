// The user list and what an administrator does with a user: add, edit roles and admin ruleset,
// set the password, remove.
import { call } from '../api.js';
import { formBody, maxPasswordBytes, maxUserNameBytes, utf8Length } from '../form-body.js';
import { InputError } from '../errors.js';
import { t } from '../i18n.js';
import { expiryText, stateText } from '../password-state.js';
import { $, busy, checkbox, confirmDialog, el, field, formDialog, showError, showStatus } from '../ui.js';

let config = { usersConfig: [], allUserRoles: [] };
const listStatus = () => $('#users-status');

function checkNewPassword(password, confirmation) {
  if (password !== confirmation) throw new InputError(t('password.errors.mismatch'));
  if (utf8Length(password) > maxPasswordBytes) throw new InputError(t('password.errors.tooLong', { max: maxPasswordBytes }));
}

function cell(labelKey, content) {
  const td = el('td', { 'data-label': t(labelKey) });
  td.append(content);
  return td;
}

function renderRow(user) {
  const info = user.passwordInfo || {};
  const name = user.userName;
  return el(
    'tr',
    { 'data-user': name },
    el('th', { scope: 'row', 'data-label': t('um.users.name'), text: name }),
    cell('um.users.roles', user.userRoles.length ? user.userRoles.join(', ') : t('um.users.noRoles')),
    cell('um.users.adminRuleset', user.hasAdminRuleset ? t('common.yes') : t('common.no')),
    cell('um.users.state', stateText(info)),
    cell('um.users.expiry', expiryText(info)),
    cell('um.users.initial', info.isUsingInitialPassword ? t('common.yes') : t('common.no')),
    cell(
      'um.users.actions',
      el(
        'div',
        { class: 'row-actions' },
        el('button', { type: 'button', class: 'secondary', 'aria-label': t('um.users.editFor', { name }), text: t('um.users.edit'), onclick: () => editUser(user) }),
        el('button', { type: 'button', class: 'secondary', 'aria-label': t('um.users.passwordFor', { name }), text: t('um.users.setPassword'), onclick: () => setPassword(name) }),
        el('button', { type: 'button', class: 'danger', 'aria-label': t('um.users.removeFor', { name }), text: t('um.users.remove'), onclick: () => removeUser(name) }),
      ),
    ),
  );
}

function render() {
  $('#user-table tbody').replaceChildren(...config.usersConfig.map(renderRow));
}

// Reads the list again after a change; the change's success is reported only once the list shows it.
async function refresh() {
  config = await call('UserManagementDp', 'GetUserManagementConfig');
  render();
}

export async function loadUsers() {
  try {
    await refresh();
  } catch (error) {
    showError(listStatus(), error);
  }
}

function editUser(user) {
  const roleBoxes = config.allUserRoles.map((role, index) =>
    checkbox(`edit-role-${index}`, role, user.userRoles.includes(role), { value: role, name: 'role' }),
  );
  formDialog({
    title: t('um.users.editTitle', { name: user.userName }),
    fields: [
      el('fieldset', {}, el('legend', { text: t('um.users.roles') }), ...roleBoxes),
      checkbox('edit-admin-ruleset', t('um.users.adminRulesetLong'), user.hasAdminRuleset),
    ],
    submitLabel: t('common.save'),
    onSubmit: async (form) => {
      const userRoles = [...form.querySelectorAll('input[name="role"]:checked')].map((box) => box.value);
      const hasAdminRuleset = form.querySelector('#edit-admin-ruleset').checked;
      await call('UserManagementDp', 'ModifyUserConfig', {
        json: { userConfigItem: { userName: user.userName, hasAdminRuleset, userRoles } },
      });
      await refresh();
      showStatus(listStatus(), t('um.users.saved', { name: user.userName }));
    },
  });
}

function setPassword(name) {
  formDialog({
    title: t('um.users.passwordTitle', { name }),
    fields: [
      field('set-password-new', t('fields.newPassword'), { type: 'password', name: 'newPassword', autocomplete: 'new-password', required: true }),
      field('set-password-confirm', t('fields.confirmNewPassword'), { type: 'password', name: 'confirmNewPassword', autocomplete: 'new-password', required: true }),
    ],
    submitLabel: t('um.users.setPassword'),
    onSubmit: async (form) => {
      const password = form.newPassword.value;
      checkNewPassword(password, form.confirmNewPassword.value);
      const body = formBody([
        ['username', name],
        ['newPassword', password],
        ['confirmNewPassword', form.confirmNewPassword.value],
      ]);
      await call('UserManagementDp', 'SetUserPassword', { body });
      await refresh();
      showStatus(listStatus(), t('um.users.passwordSet', { name }));
    },
  });
}

async function removeUser(name) {
  if (!(await confirmDialog(t('um.users.removeQuestion', { name }), t('um.users.remove')))) return;
  try {
    await call('UserManagementDp', 'RemoveUser', { body: formBody([['username', name]]) });
    await refresh();
    showStatus(listStatus(), t('um.users.removed', { name }));
  } catch (error) {
    showError(listStatus(), error);
  }
}

function bindAddUser(form) {
  const status = $('.status', form);
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    busy(form, status, async () => {
      const username = form.username.value.trim();
      if (!username) throw new InputError(t('um.users.nameMissing'));
      if (utf8Length(username) > maxUserNameBytes) throw new InputError(t('um.users.nameTooLong', { max: maxUserNameBytes }));
      checkNewPassword(form.password.value, form.confirmPassword.value);
      const body = formBody([
        ['username', username],
        ['password', form.password.value],
        ['confirmPassword', form.confirmPassword.value],
      ]);
      await call('UserManagementDp', 'AddUser', { body });
      form.reset();
      await refresh();
      showStatus(status, t('um.users.added', { name: username }));
    });
  });
}

export function initUsers() {
  bindAddUser($('#add-user-form'));
  document.addEventListener('languagechange', render);
  return loadUsers();
}
