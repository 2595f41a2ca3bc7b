// The user list with many users, adding users with roles (and the outcome cleared by the next
// action), what Remove is offered for, and the rules beside new-password fields.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { addUser, loggedInPage, show, startSuite } from './lib/pages.js';

const adminPassword = 'Kyr-Users-Board-2026!';
const created = 120; // through the API; the 10,000-user case is the device's answer replayed
let suite;
let admin;

const userName = (index) => `user${String(index).padStart(5, '0')}`;
const rowNames = (page) => page.locator('#user-table tbody tr').evaluateAll((rows) => rows.map((row) => row.dataset.user));

describe('user list', () => {
  before(async () => {
    suite = await startSuite({ adminPassword });
    admin = suite.admin;
    // A few at a time: the host serves a handful of connections at once.
    for (let first = 0; first < created; first += 4) {
      const batch = Array.from({ length: Math.min(4, created - first) }, (unused, offset) => first + offset);
      await Promise.all(batch.map((index) => addUser(admin.api, userName(index), `Given-Pass-${index}x`)));
    }
    await admin.api.call('UserManagementDp', 'ModifyUserConfig', { json: { userConfigItem: { userName: userName(7), hasAdminRuleset: false, userRoles: ['Operator'] } } });
  });

  after(() => suite?.stop());

  test('search, sort by column and paging work on the whole list', async () => {
    await show(admin, '/pages/UserManager#users');
    assert.equal((await rowNames(admin)).length, 25, 'one page of the default size');
    assert.match(await admin.locator('#user-range').textContent(), /^1–25 of 121/);

    await admin.getByRole('button', { name: 'Next' }).click();
    assert.equal((await rowNames(admin))[0], userName(24)); // admin sorts first
    await admin.getByLabel('Users per page').selectOption('100');
    await admin.getByRole('button', { name: 'Next' }).click();
    assert.equal((await rowNames(admin)).length, 21);
    assert.equal(await admin.getByRole('button', { name: 'Next' }).isDisabled(), true);

    await admin.getByRole('button', { name: 'Name', exact: true }).click(); // again: descending, from the start
    assert.equal(await admin.locator('th[data-sort="userName"]').getAttribute('aria-sort'), 'descending');
    assert.equal((await rowNames(admin))[0], userName(created - 1));
    await admin.getByRole('button', { name: 'Roles', exact: true }).click();
    await admin.getByRole('button', { name: 'Next' }).click();
    assert.deepEqual((await rowNames(admin)).slice(-2), ['admin', userName(7)], '"Admin" before "Operator"');

    // How search and sorting order the users is the view's rule, in modules.test.js.
    await admin.getByLabel('Search by name or role').fill('operator');
    assert.deepEqual(await rowNames(admin), [userName(7)]);
  });

  test('10,000 users make one short page on a phone, and search finds any of them', async () => {
    const phone = await loggedInPage(suite.browser, suite.host, { password: adminPassword, width: 390, height: 844 });
    const users = Array.from({ length: 10000 }, (unused, index) => ({
      userName: userName(index),
      hasAdminRuleset: false,
      userRoles: index % 3 ? ['Observer'] : [],
      passwordInfo: { passwordState: 'Valid', userName: userName(index), timeToExpire: 0, isUsingInitialPassword: true },
    }));
    users.push({ userName: 'admin', hasAdminRuleset: true, userRoles: ['Admin'], passwordInfo: { passwordState: 'Valid', userName: 'admin', timeToExpire: 0, isUsingInitialPassword: false } });
    const body = JSON.stringify({ error: false, errorText: '', result: { usersConfig: users, allUserRoles: ['Admin', 'Engineer', 'Operator', 'Observer'] } });
    await phone.route('**/api/UserManagementDp/GetUserManagementConfig', (request) => request.fulfill({ contentType: 'application/json', body }));
    await show(phone, '/pages/UserManager#users');
    assert.equal((await rowNames(phone)).length, 10);
    const height = await phone.evaluate(() => document.documentElement.scrollHeight);
    assert.ok(height < 844 * 5, `the page is ${height}px high`);
    await phone.getByLabel('Search by name or role').fill('user09999');
    assert.deepEqual(await rowNames(phone), [userName(9999)]);
    await phone.getByLabel('Search by name or role').fill('');
    await phone.getByLabel('Sort by').selectOption('Name (Z–A)');
    assert.equal((await rowNames(phone))[0], userName(9999));
    await phone.context().close();
  });

  // Who may be removed is the page's own rule, tested case by case in modules.test.js; here the
  // list offers it by that rule.
  test('Remove is offered for other users, not for the own account of the only administrator', async () => {
    await show(admin, '/pages/UserManager#users');
    const removeButton = (name) => admin.locator(`tr[data-user="${name}"]`).getByRole('button', { name: `Remove ${name}` });
    assert.equal(await removeButton('admin').count(), 0);
    await admin.getByLabel('Search by name or role').fill(userName(3));
    assert.equal(await removeButton(userName(3)).count(), 1);
  });

  test('a new user gets the chosen roles; the next action clears the outcome', async () => {
    await show(admin, '/pages/UserManager#users');
    const form = admin.locator('#add-user-form');
    await form.getByLabel('User name').fill('line-worker');
    await form.getByLabel('Password', { exact: true }).fill('Good-Pass-2026x');
    await form.getByLabel('Confirm password').fill('Good-Pass-2026x');
    await form.getByLabel('Engineer').check();
    await form.getByLabel('Observer').check();
    await form.getByRole('button', { name: 'Add user' }).click();
    await form.getByRole('status').getByText('User line-worker added.').waitFor();
    const config = await admin.api.call('UserManagementDp', 'GetUserManagementConfig');
    assert.deepEqual(config.usersConfig.find((user) => user.userName === 'line-worker').userRoles.sort(), ['Engineer', 'Observer']);
    await admin.getByRole('button', { name: 'Edit line-worker' }).click();
    assert.equal(await form.getByText('User line-worker added.').isVisible(), false);
    await admin.getByRole('dialog').getByRole('button', { name: 'Cancel' }).click();
  });

  test('the rules beside a new password are ticked while typing, and Show reveals it', async () => {
    await show(admin, '/pages/UserManager#users');
    const form = admin.locator('#add-user-form');
    await form.getByLabel('User name').fill('shift-lead');
    const password = form.getByLabel('Password', { exact: true });
    const unmet = () => form.locator('ul.rules li.unmet').evaluateAll((items) => items.map((item) => item.dataset.rule));
    // The rules themselves are checked case by case in modules.test.js; here they follow the typing
    // and the name typed above.
    const cases = [
      ['abc', ['length', 'mixedCase', 'digits']],
      ['Shift-lead-2026', ['userName']], // the name in another case
      ['Abc-defgh-2026', []],
    ];
    for (const [typed, expected] of cases) {
      await password.fill(typed);
      assert.deepEqual(await unmet(), expected, typed);
    }
    await password.fill('Abc-defgh-2026');
    assert.equal(await password.getAttribute('type'), 'password');
    await form.getByRole('button', { name: 'Show' }).first().click();
    assert.equal(await password.getAttribute('type'), 'text');
    await form.getByRole('button', { name: 'Hide' }).click();
    assert.equal(await password.getAttribute('type'), 'password');
  });
});
