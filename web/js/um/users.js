// The user list and what an administrator does with a user: add (with roles), edit roles and
// admin ruleset, set the password, reset the second factor, remove.
import { call, listSecondFactorUsers, resetSecondFactor } from '../api.js';
import { formBody, maxPasswordBytes, utf8Length } from '../form-body.js';
import { InputError } from '../errors.js';
import { t } from '../i18n.js';
import { attachRuleList } from '../password-rules.js';
import { expiryText, stateText } from '../password-state.js';
import { addRevealButton } from '../reveal.js';
import { $, busy, checkbox, clearStatusesAround, confirmDialog, el, field, formDialog, showError, showStatus } from '../ui.js';
import { removable, userNameProblem, viewOf } from './user-list.js';

let config = { usersConfig: [], allUserRoles: [] };
let ownName = '';
let rulesets = [];
// Phones start with shorter pages: each user is a card there.
const view = { search: '', sortKey: 'userName', descending: false, page: 0, pageSize: matchMedia('(max-width: 47.99rem)').matches ? 10 : 25 };
const listStatus = () => $('#users-status');

const rulesetOf = (name) => {
  const ruleset = rulesets.find((r) => r.roleRulesetName === name);
  return ruleset ? ruleset.passwordPolicyParameter : null;
};

function checkNewPassword(password, confirmation) {
  if (password !== confirmation) throw new InputError(t('password.errors.mismatch'));
  if (utf8Length(password) > maxPasswordBytes) throw new InputError(t('password.errors.tooLong', { max: maxPasswordBytes }));
}

function checkUserName(name) {
  const problem = userNameProblem(name);
  if (problem === 'empty') throw new InputError(t('um.users.nameMissing'));
  if (problem === 'tooLong') throw new InputError(t('um.users.nameTooLong', { max: 63 }));
  if (problem) throw new InputError(`${t('errors.module.Usernamehasinvalidcharacters')} ${t('um.users.nameRule')}`);
}

function cell(labelKey, content) {
  const td = el('td', { 'data-label': t(labelKey) });
  td.append(content);
  return td;
}

function secondFactorText(user) {
  if (user.secondFactor === undefined) return t('um.secondFactor.unknown');
  return user.secondFactor ? t('um.secondFactor.enrolled') : t('um.secondFactor.none');
}

function renderRow(user) {
  const info = user.passwordInfo || {};
  const name = user.userName;
  const actions = [
    el('button', { type: 'button', class: 'secondary', 'aria-label': t('um.users.editFor', { name }), text: t('um.users.edit'), onclick: () => editUser(user) }),
    el('button', { type: 'button', class: 'secondary', 'aria-label': t('um.users.passwordFor', { name }), text: t('um.users.setPassword'), onclick: () => setPassword(user) }),
  ];
  if (user.secondFactor) {
    actions.push(el('button', { type: 'button', class: 'secondary', 'aria-label': t('um.secondFactor.resetFor', { name }), text: t('um.secondFactor.reset'), onclick: () => resetUserSecondFactor(name) }));
  }
  if (removable(user, config.usersConfig, ownName)) {
    actions.push(el('button', { type: 'button', class: 'danger', 'aria-label': t('um.users.removeFor', { name }), text: t('um.users.remove'), onclick: () => removeUser(name) }));
  }
  return el(
    'tr',
    { 'data-user': name },
    el('th', { scope: 'row', 'data-label': t('um.users.name'), text: name }),
    cell('um.users.roles', user.userRoles.length ? user.userRoles.join(', ') : t('um.users.noRoles')),
    cell('um.users.adminRuleset', user.hasAdminRuleset ? t('common.yes') : t('common.no')),
    cell('um.users.state', stateText(info)),
    cell('um.users.expiry', expiryText(info)),
    cell('um.users.initial', info.isUsingInitialPassword ? t('common.yes') : t('common.no')),
    cell('um.secondFactor.heading', secondFactorText(user)),
    cell('um.users.actions', el('div', { class: 'row-actions' }, ...actions)),
  );
}

function render() {
  const shown = viewOf(config.usersConfig, view);
  view.page = shown.page;
  $('#user-table tbody').replaceChildren(...shown.rows.map(renderRow));
  for (const th of document.querySelectorAll('#user-table th[data-sort]')) {
    const sorted = th.dataset.sort === view.sortKey;
    if (sorted) th.setAttribute('aria-sort', view.descending ? 'descending' : 'ascending');
    else th.removeAttribute('aria-sort');
  }
  const first = shown.total ? shown.page * view.pageSize + 1 : 0;
  const last = shown.page * view.pageSize + shown.rows.length;
  $('#user-range').textContent = t('um.users.range', { first, last, total: shown.total, all: config.usersConfig.length });
  $('#user-prev').disabled = shown.page === 0;
  $('#user-next').disabled = shown.page >= shown.pages - 1;
}

function renderRoleBoxes() {
  const kept = new Set([...document.querySelectorAll('#add-user-form input[name="role"]:checked')].map((box) => box.value));
  $('#add-user-form .role-boxes').replaceChildren(
    ...config.allUserRoles.map((role, index) => checkbox(`new-user-role-${index}`, role, kept.has(role), { value: role, name: 'role' })),
  );
}

// Reads the list again after a change; the change's success is reported only once the list shows it.
async function refresh() {
  const [users, enrolled] = await Promise.allSettled([call('UserManagementDp', 'GetUserManagementConfig'), listSecondFactorUsers()]);
  if (users.status === 'rejected') throw users.reason;
  config = users.value;
  // Who has a second factor comes from the host; without that answer the column says "unknown".
  const marked = enrolled.status === 'fulfilled' ? new Set(enrolled.value.filter((u) => u.enrolled !== false).map((u) => u.userName)) : null;
  for (const user of config.usersConfig) user.secondFactor = marked ? marked.has(user.userName) : undefined;
  render();
  renderRoleBoxes();
}

export async function loadUsers() {
  try {
    await refresh();
  } catch (error) {
    showError(listStatus(), error);
  }
}

function editUser(user) {
  clearStatusesAround(listStatus());
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

function setPassword(user) {
  clearStatusesAround(listStatus());
  const name = user.userName;
  const dialog = formDialog({
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
  const input = $('#set-password-new', dialog);
  attachRuleList(input, { policy: () => rulesetOf(user.hasAdminRuleset ? 'admin' : 'default'), userName: () => name });
  dialog.querySelectorAll('input[type="password"]').forEach(addRevealButton);
}

async function removeUser(name) {
  clearStatusesAround(listStatus());
  if (!(await confirmDialog(t('um.users.removeQuestion', { name }), t('um.users.remove')))) return;
  try {
    await call('UserManagementDp', 'RemoveUser', { body: formBody([['username', name]]) });
    await refresh();
    showStatus(listStatus(), t('um.users.removed', { name }));
  } catch (error) {
    showError(listStatus(), error);
  }
}

async function resetUserSecondFactor(name) {
  clearStatusesAround(listStatus());
  if (!(await confirmDialog(t('um.secondFactor.resetQuestion', { name }), t('um.secondFactor.reset')))) return;
  try {
    await resetSecondFactor(name);
    await refresh();
    showStatus(listStatus(), t('um.secondFactor.resetDone', { name }));
  } catch (error) {
    showError(listStatus(), error);
  }
}

function bindAddUser(form) {
  const status = $('.status', form);
  form.querySelectorAll('input[type="password"]').forEach(addRevealButton);
  const rules = attachRuleList(form.password, { policy: () => rulesetOf('default'), userName: () => form.username.value.trim() });
  form.username.addEventListener('input', rules.update);
  document.addEventListener('rulesetsshown', rules.update);
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    busy(form, status, async () => {
      const username = form.username.value.trim();
      checkUserName(username);
      checkNewPassword(form.password.value, form.confirmPassword.value);
      const userRoles = [...form.querySelectorAll('input[name="role"]:checked')].map((box) => box.value);
      const body = formBody([
        ['username', username],
        ['password', form.password.value],
        ['confirmPassword', form.confirmPassword.value],
      ]);
      try {
        await call('UserManagementDp', 'AddUser', { body });
      } catch (error) {
        // The device's refusal of a name says only that it is invalid: the rule is said here.
        const text = error.errorText || '';
        if (/invalid/i.test(text) && /user ?name/i.test(text)) throw new InputError(`${t('errors.module.Usernamehasinvalidcharacters')} ${t('um.users.nameRule')}`);
        throw error;
      }
      let rolesFailed = null;
      if (userRoles.length) {
        try {
          await call('UserManagementDp', 'ModifyUserConfig', { json: { userConfigItem: { userName: username, hasAdminRuleset: false, userRoles } } });
        } catch (error) {
          rolesFailed = error;
        }
      }
      form.reset();
      rules.update();
      await refresh();
      if (rolesFailed) {
        showError(status, rolesFailed);
        status.prepend(`${t('um.users.addedWithoutRoles', { name: username })} `);
      } else {
        showStatus(status, t('um.users.added', { name: username }));
      }
    });
  });
}

function bindListTools() {
  $('#user-search').addEventListener('input', (event) => {
    view.search = event.target.value;
    view.page = 0;
    render();
  });
  $('#user-page-size').addEventListener('change', (event) => {
    view.pageSize = Number(event.target.value);
    view.page = 0;
    render();
  });
  $('#user-prev').addEventListener('click', () => {
    view.page -= 1;
    render();
  });
  $('#user-next').addEventListener('click', () => {
    view.page += 1;
    render();
  });
  const sortBy = (key, descending) => {
    view.sortKey = key;
    view.descending = descending;
    view.page = 0;
    const option = $(`#user-sort option[value="${key}:${descending ? 'desc' : 'asc'}"]`);
    if (option) $('#user-sort').value = option.value;
    render();
  };
  // The column buttons on wide screens, a list on phones (where the table is cards).
  for (const th of document.querySelectorAll('#user-table th[data-sort]')) {
    th.querySelector('button').addEventListener('click', () => {
      sortBy(th.dataset.sort, view.sortKey === th.dataset.sort ? !view.descending : false);
    });
  }
  $('#user-sort').addEventListener('change', (event) => {
    const [key, direction] = event.target.value.split(':');
    sortBy(key, direction === 'desc');
  });
}

export function initUsers(session) {
  ownName = session.userName || '';
  $('#user-page-size').value = String(view.pageSize);
  document.addEventListener('rulesetsshown', (event) => (rulesets = event.detail));
  bindListTools();
  bindAddUser($('#add-user-form'));
  document.addEventListener('languagechange', render);
  return loadUsers();
}
