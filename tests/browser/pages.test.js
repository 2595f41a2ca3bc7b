// The pages end to end: a real wbm-host on a temporary data directory, driven through headless
// Chromium. The scenarios build on each other (the administrator's first login comes first), so
// they run in order within one host.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { launchBrowser, newUserPage, screenshot } from './lib/browser.js';
import { startHost } from './lib/host.js';
import { screenshotDir } from './lib/paths.js';

const initialAdminPassword = 'First-Start-Admin-1';
const adminPassword = 'Kyr-Secure-Board-2026!'; // never holding the user name
const operator = { name: 'operator1', password: 'Start-Pass-71', own: 'Moved-On-82x', later: 'Third-Key-93y' };
const blockedByFile = ['Summer-Time-2026', 'Winter-Time-2027'];
const loginText = "Authorised use only.\nTom & Jerry's <b>bold</b> &amp; more";
// The LDAP file holds backslashes: the module doubles them on the way out, the page undoes it.
const ldapFile = 'uri ldaps://ldap.example.test\nbase dc=example,dc=test\nbinddn cn=reader\\svc,dc=example\n';

let host;
let browser;
let admin; // the administrator's page, logged in from the first scenario on

// Waits for the page's script to be ready, so that no click lands on a form without its handler.
async function ready(page) {
  await page.locator('body[data-ready="true"]').waitFor();
}

async function logIn(page, name, password) {
  await page.goto('/login.html');
  await ready(page);
  await page.getByLabel('User name').fill(name);
  await page.getByLabel('Password', { exact: true }).fill(password);
  await page.getByRole('button', { name: 'Log in' }).click();
}

function assertNoPageErrors(page) {
  assert.deepEqual(page.errors.map(String), []);
}

describe('user management pages', () => {
  before(async () => {
    host = await startHost({ adminPassword: initialAdminPassword });
    browser = await launchBrowser();
    admin = await newUserPage(browser, host.baseUrl);
  });

  after(async () => {
    await browser?.close();
    if (host) {
      fs.mkdirSync(screenshotDir, { recursive: true });
      fs.writeFileSync(path.join(screenshotDir, 'wbm-host.log'), host.log());
      await host.stop();
    }
  });

  test('the administrator must replace the initial password before anything else', async () => {
    await logIn(admin, 'admin', initialAdminPassword);
    const form = admin.locator('#forced-change');
    await form.waitFor();
    assert.equal(await admin.locator('#login-form').isVisible(), false);

    // A weak password is refused with every rule it breaks, in the service's words.
    await form.getByLabel('New password', { exact: true }).fill('weak');
    await form.getByLabel('Confirm new password').fill('weak');
    await form.getByRole('button', { name: 'Change password' }).click();
    const refusal = form.locator('.status.error');
    await refusal.waitFor();
    const text = await refusal.textContent();
    for (const rule of [/short/i, /digit/i, /symbol/i]) assert.match(text, rule);
    assert.ok((await refusal.locator('li').count()) >= 3, 'one line per broken rule');
    await screenshot(admin, 'login-forced-change');

    await form.getByLabel('New password', { exact: true }).fill(adminPassword);
    await form.getByLabel('Confirm new password').fill(adminPassword);
    await form.getByRole('button', { name: 'Change password' }).click();
    await admin.waitForURL('**/pages/UserManager');
    await ready(admin);
    await admin.locator('#user-table tr[data-user="admin"]').waitFor();
    assertNoPageErrors(admin);
  });

  test('a failed login says so and shows the wait in seconds', async () => {
    const page = await newUserPage(browser, host.baseUrl);
    await logIn(page, 'nobody-here', 'Wrong-Password-1');
    const status = page.locator('#login-form .status.error');
    await status.waitFor();
    assert.match(await status.textContent(), /Login failed: .* wait \d+ s/);
    assert.equal(await page.getByRole('button', { name: 'Log in' }).isDisabled(), true);
    await page.context().close();
  });

  test('the add-user form refuses what the device could not take, naming the problem', async () => {
    const form = admin.locator('#add-user-form');
    const cases = [
      { name: 'x1', password: 'Abcdefg-12', confirm: 'Abcdefg-13', message: /do not match/ },
      { name: 'x2', password: 'Tom&Jerry-12', confirm: 'Tom&Jerry-12', message: /"&"/ },
      { name: 'y'.repeat(64), password: 'Abcdefg-12', confirm: 'Abcdefg-12', message: /too long/ },
      { name: 'x3', password: 'short', confirm: 'short', message: /short/i }, // the service's own words
    ];
    for (const { name, password, confirm, message } of cases) {
      await form.getByLabel('User name').fill(name);
      await form.getByLabel('Password', { exact: true }).fill(password);
      await form.getByLabel('Confirm password').fill(confirm);
      await form.getByRole('button', { name: 'Add user' }).click();
      await admin.waitForFunction(() => !document.querySelector('#add-user-form button').disabled);
      const status = form.locator('.status');
      assert.match(await status.textContent(), message, `case ${name}`);
      assert.equal(await status.getAttribute('role'), 'alert');
    }
    assert.equal(await admin.locator('#user-table tbody tr').count(), 1);
  });

  test('the administrator adds a user and sets its roles', async () => {
    const form = admin.locator('#add-user-form');
    await form.getByLabel('User name').fill(operator.name);
    await form.getByLabel('Password', { exact: true }).fill(operator.password);
    await form.getByLabel('Confirm password').fill(operator.password);
    await form.getByRole('button', { name: 'Add user' }).click();
    await form.getByText(`User ${operator.name} added.`).waitFor();
    const row = admin.locator(`#user-table tr[data-user="${operator.name}"]`);
    await row.waitFor();

    await row.getByRole('button', { name: `Edit ${operator.name}` }).click();
    const dialog = admin.getByRole('dialog');
    await dialog.getByLabel('Operator').check();
    await dialog.getByLabel('Observer').check();
    await dialog.getByRole('button', { name: 'Save' }).click();
    await dialog.waitFor({ state: 'detached' });
    await admin.locator('#users-status').getByText(`User ${operator.name} saved.`).waitFor();
    const roles = await row.locator('td').first().textContent();
    assert.deepEqual(roles.split(', ').sort(), ['Observer', 'Operator']);
    await screenshot(admin, 'user-manager');
    assertNoPageErrors(admin);
  });

  test('the new user replaces the given password, then changes the own password again', async () => {
    const page = await newUserPage(browser, host.baseUrl);
    await logIn(page, operator.name, operator.password);
    // A password set by an administrator must be replaced at the first login.
    const forced = page.locator('#forced-change');
    await forced.getByLabel('New password', { exact: true }).fill(operator.own);
    await forced.getByLabel('Confirm new password').fill(operator.own);
    await forced.getByRole('button', { name: 'Change password' }).click();
    await page.waitForURL('**/password.html');
    await ready(page);
    await page.locator('#password-state dd').first().getByText(operator.name).waitFor();

    const form = page.locator('#change-form');
    await form.getByLabel('Current password').fill(operator.own);
    await form.getByLabel('New password', { exact: true }).fill(operator.later);
    await form.getByLabel('Confirm new password').fill(operator.later);
    await form.getByRole('button', { name: 'Change password' }).click();
    await form.getByText('Your password has been changed.').waitFor();
    await screenshot(page, 'password');

    const again = await newUserPage(browser, host.baseUrl);
    await logIn(again, operator.name, operator.later);
    await again.waitForURL('**/password.html');
    await ready(again);
    assertNoPageErrors(page);
    await page.context().close();
    await again.context().close();
  });

  test('a user without the admin role is refused the user manager', async () => {
    const page = await newUserPage(browser, host.baseUrl);
    await logIn(page, operator.name, operator.later);
    await page.waitForURL('**/password.html');
    await ready(page);
    await page.locator('nav a').first().waitFor();
    assert.deepEqual(await page.locator('nav a').allTextContents(), ['My password']);
    const response = await page.goto('/pages/UserManager');
    assert.equal(response.status(), 403);
    await page.context().close();
  });

  test('passwords on the block list, imported from a file, are refused with the reason', async () => {
    const form = admin.locator('#block-list');
    await form.getByLabel('Add from a text file').setInputFiles({
      name: 'blocked.txt',
      mimeType: 'text/plain',
      buffer: Buffer.from(blockedByFile.join('\r\n') + '\r\n'),
    });
    await form.getByText('2 lines added from blocked.txt').waitFor();
    await form.getByRole('button', { name: 'Save' }).click();
    await form.locator('.status.ok').getByText(/Block list saved/).waitFor();
    const lines = (await form.locator('textarea').inputValue()).split('\n');
    for (const entry of blockedByFile) assert.ok(lines.includes(entry), entry);

    const page = await newUserPage(browser, host.baseUrl);
    await logIn(page, operator.name, operator.later);
    await page.waitForURL('**/password.html');
    await ready(page);
    const change = page.locator('#change-form');
    const blocked = blockedByFile[0].toUpperCase(); // compared without regard to case
    await change.getByLabel('Current password').fill(operator.later);
    await change.getByLabel('New password', { exact: true }).fill(blocked);
    await change.getByLabel('Confirm new password').fill(blocked);
    await change.getByRole('button', { name: 'Change password' }).click();
    const refusal = change.locator('.status.error');
    await refusal.waitFor();
    assert.match(await refusal.textContent(), /block list/i);
    await page.context().close();
  });

  test('the login text appears on the login page as text, never as markup', async () => {
    const form = admin.locator('#login-text');
    await form.getByLabel('Shown as text above the login form').fill(loginText);
    await form.getByRole('button', { name: 'Save' }).click();
    await form.locator('.status.ok').waitFor();

    const visitor = await newUserPage(browser, host.baseUrl);
    await visitor.goto('/login.html');
    await ready(visitor);
    const banner = visitor.locator('#banner-text');
    await banner.waitFor();
    assert.equal(await banner.textContent(), loginText);
    assert.equal(await banner.locator('b').count(), 0);
    await screenshot(visitor, 'login');

    // The editor shows the text back exactly as it was typed.
    await admin.reload();
    await ready(admin);
    assert.equal(await admin.locator('#login-text-value').inputValue(), loginText);
    assertNoPageErrors(visitor);
    await visitor.context().close();
  });

  test('an LDAP configuration is uploaded and downloaded unchanged', async () => {
    await admin.getByRole('link', { name: 'LDAP' }).click();
    await admin.waitForURL('**/pages/LdapConfiguration');
    await ready(admin);
    const upload = admin.locator('#upload-form');
    await upload.getByLabel('Configuration file').setInputFiles({ name: 'ldap.config', mimeType: 'text/plain', buffer: Buffer.from(ldapFile) });
    await upload.getByRole('button', { name: 'Upload' }).click();
    await upload.getByText('ldap.config uploaded.').waitFor();

    const [download] = await Promise.all([admin.waitForEvent('download'), admin.getByRole('button', { name: 'Download' }).click()]);
    const saved = await download.path();
    assert.equal(fs.readFileSync(saved, 'utf8'), ldapFile);
    await admin.getByRole('button', { name: 'Show' }).click();
    await admin.locator('#ldap-preview').waitFor();
    assert.equal(await admin.locator('#ldap-preview').textContent(), ldapFile);

    await admin.getByLabel('Log users in through LDAP').check();
    await admin.getByText('LDAP is switched on.').waitFor();
    await screenshot(admin, 'ldap-configuration');
    assertNoPageErrors(admin);
  });

  test('on a phone the user manager fits the screen and speaks German', async () => {
    const phone = await newUserPage(browser, host.baseUrl, { width: 390, height: 844 });
    await logIn(phone, 'admin', adminPassword);
    await phone.waitForURL('**/pages/UserManager');
    await ready(phone);
    await phone.getByLabel('Language').selectOption('de');
    await phone.getByRole('heading', { name: 'Benutzerverwaltung', level: 1 }).waitFor();
    const overflow = await phone.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
    assert.ok(overflow <= 0, `page is ${overflow}px wider than the phone`);
    await screenshot(phone, 'user-manager-phone-de');
    assertNoPageErrors(phone);
    await phone.context().close();
  });

  test('the policy forms save what they show, and a refusal says what is wrong', async () => {
    const cases = [
      { form: '#session-policy', fill: { '#session-maxSessionTimeMinutes': '600' }, kept: true },
      { form: '#session-policy', fill: { '#session-timeoutInitialSeconds': '100' }, message: /initial wait must not be longer/ },
      { form: '#rulesets', fill: { '#default-minCharCount': '10' }, kept: true },
      { form: '#rulesets', check: '#admin-policyActive', fill: { '#admin-daysToWarning': '90' }, message: /warning days must be fewer/ },
      { form: '#rulesets', fill: { '#default-intervalCount': '-1' }, message: /Everyone else \(default\): Per number of must be a whole number/ },
    ];
    await admin.goto('/pages/UserManager');
    for (const { form, check, fill, kept, message } of cases) {
      await ready(admin);
      const section = admin.locator(form);
      if (check) await section.locator(check).check();
      for (const [selector, value] of Object.entries(fill)) await section.locator(selector).fill(value);
      await section.getByRole('button', { name: 'Save' }).click();
      const status = section.locator('.status:not([hidden])');
      await status.waitFor();
      if (kept) {
        assert.equal(await status.textContent(), 'Saved.');
        await admin.reload();
        await ready(admin);
        for (const [selector, value] of Object.entries(fill)) assert.equal(await section.locator(selector).inputValue(), value);
      } else {
        assert.match(await status.textContent(), message);
        await admin.reload();
      }
    }
    assertNoPageErrors(admin);
  });

  test("the administrator sets a user's password and removes the user after confirming", async () => {
    await ready(admin);
    const row = admin.locator(`#user-table tr[data-user="${operator.name}"]`);
    await row.getByRole('button', { name: `Set password of ${operator.name}` }).click();
    const dialog = admin.getByRole('dialog');
    await dialog.getByLabel('New password', { exact: true }).fill('Fresh-Given-55');
    await dialog.getByLabel('Confirm new password').fill('Fresh-Given-55');
    await dialog.getByRole('button', { name: 'Set password' }).click();
    await admin.locator('#users-status').getByText(`Password of ${operator.name} set.`).waitFor();
    // A password given by an administrator is an initial one.
    await row.locator('td[data-label="Initial password"]').getByText('yes', { exact: true }).waitFor();

    await row.getByRole('button', { name: `Remove ${operator.name}` }).click();
    await admin.getByRole('dialog').getByRole('button', { name: 'Cancel' }).click();
    assert.equal(await row.count(), 1);
    await row.getByRole('button', { name: `Remove ${operator.name}` }).click();
    await admin.getByRole('dialog').getByRole('button', { name: 'Remove' }).click();
    await admin.locator('#users-status').getByText(`User ${operator.name} removed.`).waitFor();
    assert.equal(await row.count(), 0);
    assertNoPageErrors(admin);
  });

  test('a restart is confirmed, waited for, and followed by a new login by keyboard alone', async () => {
    await admin.goto('/pages/UserManager');
    await ready(admin);
    await admin.getByRole('button', { name: 'Restart device' }).click();
    await admin.getByRole('dialog').getByRole('button', { name: 'Restart device' }).click();
    await admin.waitForURL(/\/login\.html\?next=/, { timeout: 60000 });
    await ready(admin);
    await admin.keyboard.type('admin'); // the user name field has the focus
    await admin.keyboard.press('Tab');
    await admin.keyboard.type(adminPassword);
    await admin.keyboard.press('Enter');
    await admin.waitForURL('**/pages/UserManager');
    await ready(admin);
    assertNoPageErrors(admin);
  });
});
