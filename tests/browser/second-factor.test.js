// A second factor at login, end to end: an administrator makes it required for administrators, is
// led to its set-up at the next login, reads the key off the page and answers with codes this test
// computes like a phone app; later logins ask for a code or a recovery code; the user
// list marks who has one and an administrator resets another user's; with the policy off the own
// second factor is removed with the password and a code. axe-core checks the states only this
// file reaches.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, before, describe, test } from 'node:test';
import { axeViolations } from './lib/axe.js';
import { newUserPage } from './lib/browser.js';
import { addUser, logIn, loggedInPage, ready, saveAfterSessionEnded, show, startSuite, submitPassword } from './lib/pages.js';
import { authenticatorApp } from './lib/totp.js';

const adminPassword = 'Kyr-Factor-Board-2026!';
const operator = { user: 'operator1', password: 'Op-Factor-2026x' };
let suite;
let admin;
let adminApp; // the administrator's phone, once the key is read off the page
let recoveryCodes = [];
const visitorPage = () => newUserPage(suite.browser, suite.host.baseUrl);

async function noViolations(page, where) {
  assert.deepEqual(await axeViolations(page), [], where);
}

async function logOut(page) {
  await page.locator('#app-header').getByRole('button', { name: 'Log out' }).click();
  await page.waitForURL('**/login.html');
}

// The code step of the login page; answers with the code (or recovery code) given.
async function answerCodeStep(page, { code, recoveryCode }) {
  const form = page.locator('#code-form');
  await form.waitFor();
  if (recoveryCode !== undefined) {
    await form.getByRole('button', { name: 'Use a recovery code instead' }).click();
    await form.getByLabel('Recovery code').fill(recoveryCode);
  } else {
    await form.getByLabel('Code from the authenticator app').fill(code);
  }
  await form.getByRole('button', { name: 'Log in' }).click();
}

// A refused code step: the login-failed text, and when the device makes the name wait, the wait
// runs out before the next try.
async function expectRefusedAndWait(page) {
  const status = page.locator('#code-form .status');
  await status.filter({ hasText: 'Login failed' }).waitFor();
  if ((await status.textContent()).includes('Please wait')) {
    assert.equal(await page.locator('#code-form button[type="submit"]').isDisabled(), true, 'no try during the wait');
    await status.filter({ hasText: 'You can try again now.' }).waitFor({ timeout: 70000 });
  }
}

describe('second factor at login', () => {
  before(async () => {
    suite = await startSuite({ adminPassword, users: [{ ...operator, roles: ['Operator'] }] });
    admin = suite.admin;
  });

  after(() => suite?.stop());

  // What the host lets such a session do (and whom it holds to the set-up), and the key and codes it
  // makes, are in tests/integration; here the pages lead there and through it. axe checks of the
  // policy tab and the set-up are in access.test.js.
  test('required for administrators: the administrator is led to the set-up at once and after the next login', async () => {
    await show(admin, '/pages/UserManager#second-factor');
    const policy = admin.locator('#second-factor-policy');
    assert.equal(await policy.getByLabel('Nobody (users may set it up)').isChecked(), true);
    await policy.getByLabel('Administrators').check();
    await policy.getByRole('button', { name: 'Save' }).click();
    // The policy holds the live session at once: its set-up is next.
    await ready(admin, '**/password.html');
    await admin.locator('#pending-enrolment').waitFor();
    assert.equal(admin.leaveWarnings, 0, 'the saved policy is no unsaved edit');

    // So does the next login.
    await logOut(admin);
    await logIn(admin, 'admin', adminPassword);
    await ready(admin, '**/password.html');
    await admin.locator('#pending-enrolment').waitFor();
    assert.equal(await admin.locator('#change-form').isVisible(), false);
    await admin.locator('#app-header nav a').first().waitFor();
    assert.deepEqual(await admin.locator('#app-header nav a').allTextContents(), ['My password']);

    const section = admin.locator('#second-factor');
    await section.getByRole('button', { name: 'Set up' }).click();
    await admin.locator('#enrol-form').waitFor();
    const secret = (await admin.locator('#enrol-secret').textContent()).replace(/\s/g, '');
    assert.match(await admin.locator('#enrol-secret').textContent(), /^([A-Z2-7]{4} ){7}[A-Z2-7]{4}$/, 'grouped in fours');
    const qr = admin.getByRole('img', { name: 'QR code with the key for the authenticator app' });
    assert.match(await qr.getAttribute('src'), /^data:image\/svg\+xml/);
    assert.ok(await qr.evaluate((image) => image.decode().then(() => image.naturalWidth > 0)), 'the QR code is drawn');
    adminApp = authenticatorApp(secret);

    const form = admin.locator('#enrol-form');
    await form.getByLabel('Code the app shows now').fill(adminApp.wrongCode());
    await form.getByRole('button', { name: 'Confirm' }).click();
    await form.locator('.status').filter({ hasText: 'The code is not valid' }).waitFor();
    await form.getByLabel('Code the app shows now').fill(await adminApp.nextCode());
    await form.getByRole('button', { name: 'Confirm' }).click();

    const list = admin.locator('#recovery-list li');
    await list.first().waitFor();
    recoveryCodes = await list.allTextContents();
    assert.equal(recoveryCodes.length, 10);
    await noViolations(admin, 'recovery codes');
    const downloading = admin.waitForEvent('download');
    await admin.getByRole('button', { name: 'Download' }).click();
    const file = await downloading;
    assert.equal(file.suggestedFilename(), 'recovery-codes.txt');
    const saved = fs.readFileSync(await file.path(), 'utf8');
    assert.deepEqual(saved.trim().split(/\r\n/).slice(-10), recoveryCodes, 'the file holds the ten codes, one a line');
    await admin.getByRole('button', { name: 'I have stored them' }).click();
    assert.equal(await admin.locator('#recovery-list li').count(), 0, 'the codes leave the page');
    await admin.getByRole('link', { name: 'Continue' }).click();
    await ready(admin, '**/pages/UserManager');
  });

  test('every later login asks for a code: a wrong one is refused like a wrong password, the right one logs in', async (t) => {
    if (!adminApp) return t.skip('no second factor was set up');
    await logOut(admin);
    await logIn(admin, 'admin', adminPassword);
    const code = admin.getByLabel('Code from the authenticator app');
    await code.waitFor();
    assert.equal(await admin.locator('#login-form').isVisible(), false);
    assert.equal(await code.getAttribute('inputmode'), 'numeric');
    assert.equal(await code.getAttribute('autocomplete'), 'one-time-code');
    await noViolations(admin, 'code step');

    await answerCodeStep(admin, { code: adminApp.wrongCode() });
    await expectRefusedAndWait(admin);
    await answerCodeStep(admin, { code: await adminApp.nextCode() });
    await ready(admin, '**/pages/UserManager');
  });

  // That each recovery code is taken once is the host's (tests/integration).
  test('a recovery code logs in; the own page counts those left and keeps a required second factor', async (t) => {
    if (!recoveryCodes.length) return t.skip('no recovery codes were shown');
    await logOut(admin);
    await logIn(admin, 'admin', adminPassword);
    await answerCodeStep(admin, { recoveryCode: recoveryCodes[0] });
    await ready(admin, '**/pages/UserManager');

    await show(admin, '/password.html');
    const facts = admin.locator('#second-factor-state');
    assert.deepEqual(await facts.locator('dd').allTextContents(), ['set up', '9', 'yes']);
    assert.equal(await admin.getByRole('button', { name: 'Remove' }).isVisible(), false, 'the policy keeps it');
    await noViolations(admin, 'own second factor, set up');
  });

  test('after the session ended, the login over the page asks for the second factor too and keeps what was typed', async (t) => {
    if (recoveryCodes.length < 2) return t.skip('no recovery codes were shown');
    const text = await saveAfterSessionEnded(admin, adminPassword, async (dialog) => {
      // The one field takes a code from the app or a recovery code.
      await dialog.getByLabel('Code from the authenticator app, or a recovery code').fill(recoveryCodes[1]);
      await noViolations(admin, 'login over the page, code step');
      await dialog.getByRole('button', { name: 'Log in' }).click();
    });
    assert.equal(await admin.locator('#login-text-value').inputValue(), text);
  });

  test('a challenge that ran out leads back to the password step', async (t) => {
    if (!adminApp) return t.skip('no second factor was set up');
    const page = await visitorPage();
    await page.clock.install();
    await logIn(page, 'admin', adminPassword);
    await page.locator('#code-form').waitFor();
    await page.clock.fastForward('05:01');
    await page.locator('#login-form .status').filter({ hasText: 'The time for entering the code has run out' }).waitFor();
    assert.equal(await page.locator('#code-form').isVisible(), false);
    assert.equal(await page.getByLabel('Password', { exact: true }).inputValue(), '');
    assert.deepEqual(page.errors, []);
    await page.context().close();
  });

  test('after five wrong codes the login starts again at the password, saying why', async (t) => {
    if (!adminApp) return t.skip('no second factor was set up');
    // Without login waits, so that five codes go in a row.
    await admin.api.resume();
    const policy = await admin.api.call('UserManagementDp', 'GetSessionPolicyConfig');
    const sessionPolicyParameter = { ...policy, timeoutInitialSeconds: 0, timeoutIncrementSeconds: 0, timeoutMaximumSeconds: 0 };
    await admin.api.call('UserManagementDp', 'SetSessionPolicyConfig', { json: { sessionPolicyParameter } });

    const page = await visitorPage();
    await logIn(page, 'admin', adminPassword);
    const status = page.locator('#code-form .status');
    for (let attempt = 1; attempt <= 4; attempt += 1) {
      await answerCodeStep(page, { code: adminApp.wrongCode() });
      await status.filter({ hasText: 'Login failed' }).waitFor();
      await page.evaluate(() => document.querySelector('#code-form .status').replaceChildren());
    }
    await answerCodeStep(page, { code: adminApp.wrongCode() });
    await page.locator('#login-form .status').filter({ hasText: 'Too many wrong codes' }).waitFor();
    assert.equal(await page.locator('#code-form').isVisible(), false);
    assert.deepEqual(page.errors, []);
    await page.context().close();
  });

  // That the reset ends the user's sessions and leaves the password alone is the host's (tests/integration).
  test('the user list marks who has a second factor; an administrator resets it after confirming', async (t) => {
    if (!adminApp) return t.skip('no second factor was set up');
    // The operator sets one up without being made to, on the own page.
    const op = await loggedInPage(suite.browser, suite.host, operator);
    await show(op, '/password.html');
    await op.getByRole('button', { name: 'Set up' }).click();
    await op.locator('#enrol-form').waitFor();
    const opApp = authenticatorApp((await op.locator('#enrol-secret').textContent()).replace(/\s/g, ''));
    await op.getByLabel('Code the app shows now').fill(await opApp.nextCode());
    await op.getByRole('button', { name: 'Confirm' }).click();
    await op.locator('#recovery-list li').first().waitFor();

    await show(admin, '/pages/UserManager#users');
    const row = (name) => admin.locator(`#user-table tbody tr[data-user="${name}"]`);
    const mark = (name) => row(name).locator('td[data-label="Second factor"]');
    assert.equal(await mark('admin').textContent(), 'set up');
    assert.equal(await mark(operator.user).textContent(), 'set up');
    await row(operator.user).getByRole('button', { name: `Reset second factor of ${operator.user}` }).click();
    await noViolations(admin, 'reset question');
    await admin.getByRole('dialog').getByRole('button', { name: 'Reset second factor' }).click();
    await admin.locator('#users-status').filter({ hasText: `The second factor of ${operator.user} has been reset.` }).waitFor();
    assert.equal(await mark(operator.user).textContent(), 'not set up');
    assert.equal(await row(operator.user).getByRole('button', { name: /Reset second factor/ }).count(), 0);
    await op.context().close();
  });

  test('required for everyone: a new user changes the initial password first, then is led to the set-up', async (t) => {
    if (!adminApp) return t.skip('no second factor was set up');
    await admin.api.call('second-factor', 'policy', { json: { policy: 'everyone' } });
    await addUser(admin.api, 'newcomer', 'Given-Fresh-2026x');

    const fresh = await visitorPage();
    await logIn(fresh, 'newcomer', 'Given-Fresh-2026x');
    await submitPassword(fresh.locator('#forced-change'), 'Fresh-Factor-2026x');
    await ready(fresh, '**/password.html');
    await fresh.locator('#pending-enrolment').waitFor();
    assert.equal(await fresh.getByRole('button', { name: 'Set up' }).isVisible(), true);
    assert.deepEqual(fresh.errors, []);
    await fresh.context().close();
  });

  test('with the policy off, the own second factor is removed with the password and a code', async (t) => {
    if (!adminApp) return t.skip('no second factor was set up');
    await show(admin, '/pages/UserManager#second-factor');
    await admin.locator('#second-factor-policy').getByLabel('Nobody (users may set it up)').check();
    await admin.locator('#second-factor-policy').getByRole('button', { name: 'Save' }).click();
    await admin.locator('#second-factor-policy').getByText('Saved.').waitFor();

    await show(admin, '/password.html');
    await admin.locator('#second-factor').getByRole('button', { name: 'Remove' }).click();
    const dialog = admin.getByRole('dialog');
    await noViolations(admin, 'remove dialog');
    await dialog.getByLabel('Password', { exact: true }).fill(adminPassword);
    await dialog.getByLabel('Code from the authenticator app').fill(await adminApp.nextCode());
    await dialog.getByRole('button', { name: 'Remove' }).click();
    await admin.locator('#second-factor-status').filter({ hasText: 'The second factor has been removed.' }).waitFor();
    assert.deepEqual(await admin.locator('#second-factor-state dd').allTextContents(), ['not set up', 'no']);
    assert.equal(await admin.getByRole('button', { name: 'Set up' }).isVisible(), true);

    await logOut(admin);
    await logIn(admin, 'admin', adminPassword);
    await ready(admin, '**/pages/UserManager');
  });

  test('no page had a script error', () => {
    assert.deepEqual(admin.errors, []);
  });
});
