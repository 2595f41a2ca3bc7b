// The pages end to end: a real wbm-host on a temporary data directory, driven through headless
// Chromium. The scenarios build on each other (the administrator's first login comes first), so
// they run in order within one host.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { launchBrowser, newUserPage, screenshot } from './lib/browser.js';
import { startHost } from './lib/host.js';
import { logIn, openTab, ready, show, submitPassword } from './lib/pages.js';
import { screenshotDir } from './lib/paths.js';

const initialAdminPassword = 'First-Start-Admin-1';
const adminPassword = 'Kyr-Secure-Board-2026!'; // never holding the user name
const operator = { name: 'operator1', password: 'Start-Pass-71', own: 'Moved-On-82x', later: 'Third-Key-93y' };
const blockedByFile = ['Summer-Time-2026', 'Winter-Time-2027'];
const loginText = "Authorised use only.\nTom & Jerry's <b>bold</b> &amp; more";
// The LDAP file holds backslashes: the module doubles them on the way out, the page undoes it.
const ldapFile = 'server = ldap://127.0.0.1:9\nstart_tls = no\nunencrypted_connection = allowed\n' +
  'user_base = ou=people\\, plant,dc=example,dc=test\ngroup_base = dc=example,dc=test\n' +
  'group_role = Admin : cn=admins,dc=example,dc=test\n';

let host;
let browser;
let admin; // the administrator's page, logged in from the first scenario on
let op; // the operator's page, from its second login on
const pages = [];

async function newPage(options) {
  const page = await newUserPage(browser, host.baseUrl, options);
  pages.push(page);
  return page;
}

// Errors are announced to screen readers, so the error line is found by its role.
async function refusalIn(form) {
  const refusal = form.getByRole('alert');
  await refusal.waitFor();
  return refusal;
}

describe('user management pages', () => {
  before(async () => {
    host = await startHost(initialAdminPassword);
    browser = await launchBrowser();
    admin = await newPage();
  });

  after(async () => {
    await browser?.close();
    if (host) {
      fs.mkdirSync(screenshotDir, { recursive: true });
      fs.writeFileSync(path.join(screenshotDir, 'wbm-host.log'), host.log());
      await host.stop();
    }
  });

  test('the administrator must replace the initial password, and a weak one is refused rule by rule', async () => {
    await logIn(admin, 'admin', initialAdminPassword);
    const form = admin.locator('#forced-change');
    await submitPassword(form, 'weak');
    const refusal = await refusalIn(form);
    for (const rule of [/short/i, /digit/i, /symbol/i]) assert.match(await refusal.textContent(), rule);
    assert.ok((await refusal.locator('li').count()) >= 3, 'one line per broken rule');
    await screenshot(admin, 'login-forced-change');
    await submitPassword(form, adminPassword);
    await ready(admin, '**/pages/UserManager');
  });

  test('a failed login says so and shows the wait in seconds', async () => {
    const page = await newPage();
    await logIn(page, 'nobody-here', 'Wrong-Password-1');
    assert.match(await (await refusalIn(page.locator('#login-form'))).textContent(), /Login failed: .* wait \d+ s/);
    assert.equal(await page.getByRole('button', { name: 'Log in' }).isDisabled(), true);
  });

  test('the administrator adds a user, after refusals naming the problem, and sets its roles', async () => {
    const form = admin.locator('#add-user-form');
    const cases = [
      // The page's own checks of names and passwords are in modules.test.js; one refusal from the
      // page and one in the service's own words show both are said.
      { name: 'x1', password: 'Abcdefg-12', confirm: 'Abcdefg-13', message: /do not match/ },
      { name: 'x3', password: 'short', message: /short/i },
      { name: operator.name, password: operator.password, message: /^User operator1 added\.$/ },
    ];
    for (const { name, password, confirm = password, message } of cases) {
      await form.getByLabel('User name').fill(name);
      await form.getByLabel('Password', { exact: true }).fill(password);
      await form.getByLabel('Confirm password').fill(confirm);
      await form.getByRole('button', { name: 'Add user' }).click();
      const status = form.getByRole(name === operator.name ? 'status' : 'alert');
      await status.waitFor();
      assert.match(await status.textContent(), message, `case ${name}`);
    }
    assert.deepEqual(await admin.locator('#user-table tr[data-user]').evaluateAll((rows) => rows.map((r) => r.dataset.user)), ['admin', operator.name]);

    const row = admin.locator(`#user-table tr[data-user="${operator.name}"]`);
    await row.getByRole('button', { name: `Edit ${operator.name}` }).click();
    const dialog = admin.getByRole('dialog');
    await dialog.getByLabel('Operator').check();
    await dialog.getByLabel('Observer').check();
    await dialog.getByRole('button', { name: 'Save' }).click();
    await admin.locator('#users-status').getByText(`User ${operator.name} saved.`).waitFor();
    assert.deepEqual((await row.locator('td').first().textContent()).split(', ').sort(), ['Observer', 'Operator']);
    await screenshot(admin, 'user-manager');
  });

  test('the new user replaces the given password, changes it again, and is offered only the own page', async () => {
    const first = await newPage();
    await logIn(first, operator.name, operator.password);
    // A password set by an administrator must be replaced at the first login.
    await submitPassword(first.locator('#forced-change'), operator.own);
    await ready(first, '**/password.html');
    await first.locator('#password-state dd').first().getByText(operator.name).waitFor();
    const form = first.locator('#change-form');
    await submitPassword(form, operator.later, { current: operator.own });
    await form.getByText('Your password has been changed.').waitFor();
    await screenshot(first, 'password');

    op = await newPage();
    await logIn(op, operator.name, operator.later, '**/password.html');
    // The user manager's 403 page is checked in access.test.js.
    assert.deepEqual(await op.locator('nav a').allTextContents(), ['My password']);
  });

  test('passwords on the block list, imported from a file, are refused with the reason', async () => {
    await openTab(admin, 'Blocked passwords');
    const form = admin.locator('#block-list');
    const buffer = Buffer.from(blockedByFile.join('\r\n') + '\r\n');
    await form.getByLabel('Add from a text file').setInputFiles({ name: 'blocked.txt', mimeType: 'text/plain', buffer });
    await form.getByText('2 lines added from blocked.txt').waitFor();
    await form.getByRole('button', { name: 'Save' }).click();
    await form.getByRole('status').getByText(/Block list saved/).waitFor();
    const lines = (await form.locator('textarea').inputValue()).split('\n');
    for (const entry of blockedByFile) assert.ok(lines.includes(entry), entry);

    await show(op, '/password.html');
    const change = op.locator('#change-form');
    await submitPassword(change, blockedByFile[0].toUpperCase(), { current: operator.later }); // case does not matter
    assert.match(await (await refusalIn(change)).textContent(), /block list/i);
  });

  test('the login text appears on the login page as text, never as markup', async () => {
    await openTab(admin, 'Login text');
    const form = admin.locator('#login-text');
    await form.getByLabel('Shown as text above the login form').fill(loginText);
    await form.getByRole('button', { name: 'Save' }).click();
    await form.getByRole('status').waitFor();

    const visitor = await newPage();
    await show(visitor, '/login.html');
    const banner = visitor.locator('#banner-text');
    assert.equal(await banner.textContent(), loginText);
    assert.equal(await banner.locator('b').count(), 0);
    await screenshot(visitor, 'login');

    // The editor shows the text back exactly as it was typed.
    await admin.reload();
    await ready(admin);
    assert.equal(await admin.locator('#login-text-value').inputValue(), loginText);
  });

  test('an LDAP configuration is uploaded and downloaded unchanged', async () => {
    await admin.getByRole('link', { name: 'LDAP' }).click();
    await ready(admin, '**/pages/LdapConfiguration');
    const upload = admin.locator('#upload-form');
    await upload.getByLabel('Configuration file').setInputFiles({ name: 'ldap.config', mimeType: 'text/plain', buffer: Buffer.from(ldapFile) });
    await upload.getByRole('button', { name: 'Upload' }).click();
    await upload.getByText('ldap.config uploaded.').waitFor();

    const [download] = await Promise.all([admin.waitForEvent('download'), admin.getByRole('button', { name: 'Download' }).click()]);
    assert.equal(fs.readFileSync(await download.path(), 'utf8'), ldapFile);
    await admin.getByRole('button', { name: 'Show' }).click();
    const preview = admin.locator('#ldap-preview');
    await preview.waitFor();
    assert.equal(await preview.textContent(), ldapFile);

    await admin.getByLabel('Log users in through LDAP').check();
    await admin.getByText('LDAP is switched on.').waitFor();
    // The connection test names the step that failed: nothing listens at the configured port.
    // The status line is filled once the test form has its handler.
    await admin.locator('#ldap-status').getByText(/not been asked|reached/).waitFor();
    await admin.getByRole('button', { name: 'Test connection' }).click();
    await admin.getByText('The test failed at: Connect.').waitFor({ timeout: 30000 });
    await admin.locator('#ldap-test-steps li.error').first().waitFor();
    await admin.locator('#ldap-status').getByText(/not reached/).waitFor();
    await screenshot(admin, 'ldap-configuration');
  });

  test('on a phone the user manager fits the screen and speaks German', async () => {
    const phone = await newPage({ width: 390, height: 844 });
    await logIn(phone, 'admin', adminPassword, '**/pages/UserManager');
    await phone.getByLabel('Language').selectOption('de');
    await phone.getByRole('heading', { name: 'Benutzerverwaltung', level: 1 }).waitFor();
    const overflow = await phone.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
    assert.ok(overflow <= 0, `page is ${overflow}px wider than the phone`);
    await screenshot(phone, 'user-manager-phone-de');
  });

  // What the page checks before sending is in policies.test.js; here the values go to the device.
  test('the policy forms save what they show', async () => {
    const cases = [
      { tab: 'sessions', form: '#session-policy', field: '#session-maxSessionTimeMinutes', value: '600' },
      { tab: 'password-rules', form: '#rulesets', field: '#default-minCharCount', value: '10' },
    ];
    for (const { tab, form, field, value } of cases) {
      await show(admin, `/pages/UserManager#${tab}`);
      const section = admin.locator(form);
      await section.locator(field).fill(value);
      await section.getByRole('button', { name: 'Save' }).click();
      await section.locator('.status:not([hidden])').getByText(/^Saved\.$/).waitFor();
      await admin.reload();
      await ready(admin);
      assert.equal(await section.locator(field).inputValue(), value);
    }
  });

  test("the administrator sets a user's password and removes the user after confirming", async () => {
    await show(admin, '/pages/UserManager#users');
    const row = admin.locator(`#user-table tr[data-user="${operator.name}"]`);
    const remove = async (answer) => {
      await row.getByRole('button', { name: `Remove ${operator.name}` }).click();
      await admin.getByRole('dialog').getByRole('button', { name: answer }).click();
    };
    await remove('Cancel'); // the password set next needs the user still there
    await row.getByRole('button', { name: `Set password of ${operator.name}` }).click();
    await submitPassword(admin.getByRole('dialog'), 'Fresh-Given-55', { button: 'Set password' });
    await admin.locator('#users-status').getByText(`Password of ${operator.name} set.`).waitFor();
    // A password given by an administrator is an initial one.
    await row.locator('td[data-label="Initial password"]').getByText('yes', { exact: true }).waitFor();

    await remove('Remove');
    await admin.locator('#users-status').getByText(`User ${operator.name} removed.`).waitFor();
    assert.equal(await row.count(), 0);
  });

  test('a restart is confirmed, waited for, and followed by a new login by keyboard alone', async () => {
    await show(admin, '/pages/UserManager#device');
    await admin.getByRole('button', { name: 'Restart device' }).click();
    await admin.getByRole('dialog').getByRole('button', { name: 'Restart device' }).click();
    await ready(admin, /\/login\.html\?next=/);
    await admin.keyboard.type('admin'); // the user name field has the focus
    await admin.keyboard.press('Tab');
    await admin.keyboard.type(adminPassword);
    await admin.keyboard.press('Enter');
    await ready(admin, '**/pages/UserManager');
  });

  test('no page had a script error', () => {
    for (const page of pages) assert.deepEqual(page.errors, []);
  });
});
