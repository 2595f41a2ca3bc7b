// A second factor at login, end to end: an administrator makes it required for administrators, is
// led to its set-up at the next login, reads the key off the page and answers with codes this test
// computes like a phone app; later logins ask for a code or a recovery code (each once); the user
// list marks who has one and an administrator resets another user's; with the policy off the own
// second factor is removed with the password and a code. axe-core checks every new state.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, before, describe, test } from 'node:test';
import { axeViolations } from './lib/axe.js';
import { launchBrowser, newUserPage } from './lib/browser.js';
import { startHost } from './lib/host.js';
import { apiOf, loggedInPage, openFresh, ready } from './lib/pages.js';
import { authenticatorApp, codeOfStep } from './lib/totp.js';

const adminPassword = 'Kyr-Factor-Board-2026!';
const operator = { user: 'operator1', password: 'Op-Factor-2026x' };
let host;
let browser;
let admin;
let adminApp; // the administrator's phone, once the key is read off the page
let recoveryCodes = [];
let backendMissing = '';

async function noViolations(page, where) {
  assert.deepEqual(await axeViolations(page), [], where);
}

async function fillLogin(page, user, password) {
  await openFresh(page, '/login.html');
  await ready(page);
  await page.getByLabel('User name').fill(user);
  await page.getByLabel('Password', { exact: true }).fill(password);
  await page.locator('#login-form').getByRole('button', { name: 'Log in' }).click();
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
    host = await startHost('First-Start-Admin-1');
    browser = await launchBrowser();
    admin = await loggedInPage(browser, host, { password: adminPassword, initial: 'First-Start-Admin-1' });
    await admin.api.call('UserManagementDp', 'AddUser', { body: `username=${operator.user}&password=Given-Op-2026x&confirmPassword=Given-Op-2026x` });
    await admin.api.call('UserManagementDp', 'ModifyUserConfig', { json: { userConfigItem: { userName: operator.user, hasAdminRuleset: false, userRoles: ['Operator'] } } });
    const op = await loggedInPage(browser, host, { ...operator, initial: 'Given-Op-2026x' });
    await op.context().close();
    const probe = await admin.request.get('/api/second-factor');
    if (probe.status() === 404) backendMissing = 'the host has no /api/second-factor routes in this build';
  });

  after(async () => {
    await browser?.close();
    await host?.stop();
  });

  test('the codes this test computes are those of RFC 6238 (SHA-1 table)', () => {
    const key = Buffer.from('12345678901234567890');
    const table = [
      [59, '94287082'],
      [1111111109, '07081804'],
      [1234567890, '89005924'],
      [20000000000, '65353130'],
    ];
    for (const [seconds, code] of table) assert.equal(codeOfStep(key, Math.floor(seconds / 30), 8), code, `T = ${seconds}`);
  });

  test('required for administrators: the administrator is led to the set-up at once and after the next login, with nothing else open', async (t) => {
    if (backendMissing) return t.skip(backendMissing);
    await openFresh(admin, '/pages/UserManager#second-factor');
    await ready(admin);
    const policy = admin.locator('#second-factor-policy');
    assert.equal(await policy.getByLabel('Nobody (users may set it up)').isChecked(), true);
    await noViolations(admin, 'policy tab');
    await policy.getByLabel('Administrators').check();
    await policy.getByRole('button', { name: 'Save' }).click();
    // The policy holds the live session at once: its set-up is next.
    await ready(admin, '**/password.html');
    await admin.locator('#pending-enrolment').waitFor();
    assert.equal(admin.leaveWarnings, 0, 'the saved policy is no unsaved edit');

    // Others than administrators are not asked.
    const visitor = await newUserPage(browser, host.baseUrl);
    const opAnswer = await apiOf(visitor).login(operator.user, operator.password);
    assert.equal(Boolean(opAnswer.secondFactorRequired || opAnswer.secondFactorEnrolmentRequired), false);
    await visitor.context().close();

    // So does the next login.
    await logOut(admin);
    await fillLogin(admin, 'admin', adminPassword);
    await ready(admin, '**/password.html');
    await admin.locator('#pending-enrolment').waitFor();
    assert.equal(await admin.locator('#change-form').isVisible(), false);
    await admin.locator('#app-header nav a').first().waitFor();
    assert.deepEqual(await admin.locator('#app-header nav a').allTextContents(), ['My password']);
    // Another page answers with this one (the host redirects; the tests' content policy fetches
    // documents itself, so the address may stay the one asked for).
    await admin.goto('/pages/UserManager');
    await ready(admin);
    await admin.locator('#pending-enrolment').waitFor();
    await admin.goto('/security-log.html');
    await ready(admin, '**/password.html');

    const section = admin.locator('#second-factor');
    await section.getByRole('button', { name: 'Set up' }).click();
    await admin.locator('#enrol-form').waitFor();
    const secret = (await admin.locator('#enrol-secret').textContent()).replace(/\s/g, '');
    assert.match(secret, /^[A-Z2-7]{32}$/, 'a 160-bit key in base32');
    assert.match(await admin.locator('#enrol-secret').textContent(), /^([A-Z2-7]{4} ){7}[A-Z2-7]{4}$/, 'grouped in fours');
    const qr = admin.getByRole('img', { name: 'QR code with the key for the authenticator app' });
    assert.match(await qr.getAttribute('src'), /^data:image\/svg\+xml/);
    assert.ok(await qr.evaluate((image) => image.decode().then(() => image.naturalWidth > 0)), 'the QR code is drawn');
    await noViolations(admin, 'set-up');
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
    assert.equal(new Set(recoveryCodes).size, 10);
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
    if (backendMissing || !adminApp) return t.skip(backendMissing || 'no second factor was set up');
    await logOut(admin);
    await fillLogin(admin, 'admin', adminPassword);
    const code = admin.getByLabel('Code from the authenticator app');
    await code.waitFor();
    assert.equal(await admin.locator('#login-form').isVisible(), false);
    assert.equal(await code.getAttribute('inputmode'), 'numeric');
    assert.equal(await code.getAttribute('autocomplete'), 'one-time-code');
    await noViolations(admin, 'code step');
    const session = await admin.request.get('/api/session').then((r) => r.json());
    assert.equal(session.loggedIn, false, 'no session before the code');

    await answerCodeStep(admin, { code: adminApp.wrongCode() });
    await expectRefusedAndWait(admin);
    await answerCodeStep(admin, { code: await adminApp.nextCode() });
    await ready(admin, '**/pages/UserManager');
  });

  test('a recovery code logs in once; the own page counts those left and keeps a required second factor', async (t) => {
    if (backendMissing || !recoveryCodes.length) return t.skip(backendMissing || 'no recovery codes were shown');
    await logOut(admin);
    await fillLogin(admin, 'admin', adminPassword);
    await answerCodeStep(admin, { recoveryCode: recoveryCodes[0] });
    await ready(admin, '**/pages/UserManager');

    await logOut(admin);
    await fillLogin(admin, 'admin', adminPassword);
    await answerCodeStep(admin, { recoveryCode: recoveryCodes[0] });
    await expectRefusedAndWait(admin);
    await admin.locator('#code-form').getByLabel('Recovery code').fill(recoveryCodes[1]);
    await admin.locator('#code-form').getByRole('button', { name: 'Log in' }).click();
    await ready(admin, '**/pages/UserManager');

    await admin.goto('/password.html');
    await ready(admin);
    const facts = admin.locator('#second-factor-state');
    assert.deepEqual(await facts.locator('dd').allTextContents(), ['set up', '8', 'yes']);
    assert.equal(await admin.getByRole('button', { name: 'Remove' }).isVisible(), false, 'the policy keeps it');
    await noViolations(admin, 'own second factor, set up');
  });

  test('after the session ended, the login over the page asks for the second factor too and keeps what was typed', async (t) => {
    if (backendMissing || recoveryCodes.length < 3) return t.skip(backendMissing || 'no recovery codes were shown');
    await openFresh(admin, '/pages/UserManager#login-notice');
    await ready(admin);
    const text = 'Typed before the session ended.';
    await admin.locator('#login-text-value').fill(text);
    const token = await admin.evaluate(() => fetch('/api/session').then((r) => r.json()).then((s) => s.csrfToken));
    await admin.request.post('/api/logout', { headers: { 'X-CSRF-Token': token } });
    await admin.locator('#login-text').getByRole('button', { name: 'Save' }).click();
    const dialog = admin.getByRole('dialog', { name: 'Log in again' });
    await dialog.getByLabel('Password', { exact: true }).fill(adminPassword);
    await dialog.getByRole('button', { name: 'Log in' }).click();
    // The one field takes a code from the app or a recovery code.
    await dialog.getByLabel('Code from the authenticator app, or a recovery code').fill(recoveryCodes[2]);
    await noViolations(admin, 'login over the page, code step');
    await dialog.getByRole('button', { name: 'Log in' }).click();
    await admin.locator('#login-text').getByText('Saved.').waitFor();
    assert.equal(await admin.locator('#login-text-value').inputValue(), text);
  });

  test('a challenge that ran out leads back to the password step', async (t) => {
    if (backendMissing || !adminApp) return t.skip(backendMissing || 'no second factor was set up');
    const page = await newUserPage(browser, host.baseUrl);
    await page.clock.install();
    await fillLogin(page, 'admin', adminPassword);
    await page.locator('#code-form').waitFor();
    await page.clock.fastForward('05:01');
    await page.locator('#login-form .status').filter({ hasText: 'The time for entering the code has run out' }).waitFor();
    assert.equal(await page.locator('#code-form').isVisible(), false);
    assert.equal(await page.getByLabel('Password', { exact: true }).inputValue(), '');
    assert.deepEqual(page.errors, []);
    await page.context().close();
  });

  test('after five wrong codes the login starts again at the password, saying why', async (t) => {
    if (backendMissing || !adminApp) return t.skip(backendMissing || 'no second factor was set up');
    // Without login waits, so that five codes go in a row.
    const saved = await admin.evaluate(async () => {
      const { csrfToken } = await (await fetch('/api/session')).json();
      const policy = (await (await fetch('/api/UserManagementDp/GetSessionPolicyConfig')).json()).result;
      const sessionPolicyParameter = { ...policy, timeoutInitialSeconds: 0, timeoutIncrementSeconds: 0, timeoutMaximumSeconds: 0 };
      const answer = await fetch('/api/UserManagementDp/SetSessionPolicyConfig', {
        method: 'POST',
        headers: { 'X-CSRF-Token': csrfToken, 'Content-Type': 'application/json' },
        body: JSON.stringify({ sessionPolicyParameter }),
      });
      return (await answer.json()).error;
    });
    assert.equal(saved, false);

    const page = await newUserPage(browser, host.baseUrl);
    await fillLogin(page, 'admin', adminPassword);
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

  test('the user list marks who has a second factor; a reset after confirmation ends it and the sessions', async (t) => {
    if (backendMissing || !adminApp) return t.skip(backendMissing || 'no second factor was set up');
    // The operator sets one up without being made to, on the own page.
    const op = await loggedInPage(browser, host, operator);
    await op.goto('/password.html');
    await ready(op);
    await op.getByRole('button', { name: 'Set up' }).click();
    await op.locator('#enrol-form').waitFor();
    const opApp = authenticatorApp((await op.locator('#enrol-secret').textContent()).replace(/\s/g, ''));
    await op.getByLabel('Code the app shows now').fill(await opApp.nextCode());
    await op.getByRole('button', { name: 'Confirm' }).click();
    await op.locator('#recovery-list li').first().waitFor();

    await openFresh(admin, '/pages/UserManager#users');
    await ready(admin);
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

    const opSession = await op.request.get('/api/session').then((r) => r.json());
    assert.equal(opSession.loggedIn, false, 'the reset ended the operator\'s session');
    const again = await apiOf(op).login(operator.user, operator.password);
    assert.equal(Boolean(again.secondFactorRequired), false, 'the password alone logs in again');
    await op.context().close();
  });

  test('required for everyone: a new user changes the initial password first, then is led to the set-up', async (t) => {
    if (backendMissing || !adminApp) return t.skip(backendMissing || 'no second factor was set up');
    // Set-up through the API of the administrator's page (its cookie and token).
    const status = await admin.evaluate(async () => {
      const { csrfToken } = await (await fetch('/api/session')).json();
      const post = (url, body, type) => fetch(url, { method: 'POST', headers: { 'X-CSRF-Token': csrfToken, 'Content-Type': type }, body });
      const policy = await post('/api/second-factor/policy', JSON.stringify({ policy: 'everyone' }), 'application/json');
      const user = await post('/api/UserManagementDp/AddUser', 'username=newcomer&password=Given-Fresh-2026x&confirmPassword=Given-Fresh-2026x', 'text/plain');
      return [policy.status, (await user.json()).error];
    });
    assert.deepEqual(status, [200, false]);

    const fresh = await newUserPage(browser, host.baseUrl);
    await fillLogin(fresh, 'newcomer', 'Given-Fresh-2026x');
    const change = fresh.locator('#forced-change');
    await change.waitFor();
    await change.getByLabel('New password', { exact: true }).fill('Fresh-Factor-2026x');
    await change.getByLabel('Confirm new password').fill('Fresh-Factor-2026x');
    await change.getByRole('button', { name: 'Change password' }).click();
    await ready(fresh, '**/password.html');
    await fresh.locator('#pending-enrolment').waitFor();
    assert.equal(await fresh.getByRole('button', { name: 'Set up' }).isVisible(), true);
    assert.deepEqual(fresh.errors, []);
    await fresh.context().close();
  });

  test('with the policy off, the own second factor is removed with the password and a code', async (t) => {
    if (backendMissing || !adminApp) return t.skip(backendMissing || 'no second factor was set up');
    await openFresh(admin, '/pages/UserManager#second-factor');
    await ready(admin);
    await admin.locator('#second-factor-policy').getByLabel('Nobody (users may set it up)').check();
    await admin.locator('#second-factor-policy').getByRole('button', { name: 'Save' }).click();
    await admin.locator('#second-factor-policy').getByText('Saved.').waitFor();

    await admin.goto('/password.html');
    await ready(admin);
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
    await fillLogin(admin, 'admin', adminPassword);
    await ready(admin, '**/pages/UserManager');
  });

  test('no page had a script error', () => {
    assert.deepEqual(admin.errors, []);
  });
});
