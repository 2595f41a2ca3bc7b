// The policy and login-text sections of the user manager against a real host: nothing can be
// saved before the device's data arrived, and after a refused policy save the page shows what the
// device put back.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { openFresh, show, startSuite } from './lib/pages.js';

const adminPassword = 'Kyr-Policy-Board-2026!';
let suite;
let admin;

describe('policy sections', () => {
  before(async () => {
    suite = await startSuite({ adminPassword });
    admin = suite.admin;
    // Every section has data to lose.
    await admin.api.call('SystemUseNotificationDp', 'SetSystemUseNotification', { body: 'SystemUseNotification=Authorised use only.' });
  });

  after(() => suite?.stop());

  // A slow or failing load must never let Save store an empty form over the device's data.
  const sections = [
    { tab: 'blocked-passwords', form: '#block-list', fn: 'GetPasswordBlockList', field: '#block-entries' },
    { tab: 'login-notice', form: '#login-text', fn: 'GetSystemUseNotification', field: '#login-text-value' },
    { tab: 'password-rules', form: '#rulesets', fn: 'GetPasswordRoleRulesets', field: '#default-minCharCount' },
    { tab: 'sessions', form: '#session-policy', fn: 'GetSessionPolicyConfig', field: '#session-maxSessionTimeMinutes' },
  ];
  for (const { tab, form, fn, field } of sections) {
    test(`${form}: Save waits for a slow load, and stays off after a failed one`, async () => {
      let release;
      const held = new Promise((resolve) => (release = resolve));
      const route = `**/api/*/${fn}`;
      await admin.route(route, async (request) => {
        await held;
        await request.continue();
      });
      await openFresh(admin, `/pages/UserManager#${tab}`);
      const section = admin.locator(form);
      const save = section.getByRole('button', { name: 'Save' });
      await section.getByText('Loading…').waitFor();
      assert.equal(await save.isDisabled(), true, 'Save while loading');
      release();
      await section.locator(field).waitFor();
      await admin.waitForFunction((selector) => !document.querySelector(`${selector} button[type="submit"]`).disabled, form);
      assert.notEqual(await section.locator(field).inputValue(), '', 'the data arrived');
      await admin.unroute(route);

      await admin.route(route, (request) => request.fulfill({ status: 503, contentType: 'application/json', body: '{"error":true,"errorText":"unavailable"}' }));
      await admin.reload();
      await section.getByRole('alert').waitFor();
      assert.equal(await save.isDisabled(), true, 'Save after a failed load');
      await admin.unroute(route);
    });
  }

  test('fields that depend on a switch are open only while it is on', async () => {
    await show(admin, '/pages/UserManager#password-rules');
    const cases = [
      ['blockReusedPasswords', ['reusedGenerationCount']],
      ['checkPwChangableInterval', ['allowedPasswordChanges', 'intervalCount', 'intervalType']],
      ['policyActive', ['daysToExpiration', 'daysToWarning', 'lockUserActive']],
    ];
    for (const ruleset of ['admin', 'default']) {
      for (const [switchKey, keys] of cases) {
        const box = admin.locator(`#${ruleset}-${switchKey}`);
        for (const on of [true, false]) {
          await box.setChecked(on);
          for (const key of keys) assert.equal(await admin.locator(`#${ruleset}-${key}`).isEnabled(), on, `${ruleset} ${switchKey}=${on}: ${key}`);
        }
      }
    }
  });

  // The session policy's ranges are checked by the page's own helper (modules.test.js); one of them
  // here shows the check is wired to the form. The rulesets' checks live only in the page.
  test('values the device would refuse are named before anything is sent', async () => {
    const cases = [
      { tab: 'sessions', fill: { '#session-maxConcurrentSessionsCount': '0' }, message: /Sessions per user at the same time must be from 1 to 100/ },
      { tab: 'password-rules', check: '#default-policyActive', fill: { '#default-daysToExpiration': '30', '#default-daysToWarning': '30' }, message: /Everyone else \(default\): The warning days must be fewer/ },
      // The interval fields are open only while changes are limited.
      { tab: 'password-rules', check: '#default-checkPwChangableInterval', fill: { '#default-intervalCount': '-1' }, message: /Everyone else \(default\): Per number of must be a whole number/ },
    ];
    let sent = 0;
    await admin.route('**/api/UserManagementDp/Set*', (request) => {
      sent += 1;
      return request.continue();
    });
    for (const { tab, check, fill, message } of cases) {
      await show(admin, `/pages/UserManager#${tab}`);
      const panel = admin.locator(`#panel-${tab}`);
      if (check) await panel.locator(check).check();
      for (const [selector, value] of Object.entries(fill)) await panel.locator(selector).fill(value);
      await panel.getByRole('button', { name: 'Save' }).click();
      assert.match(await panel.getByRole('alert').textContent(), message);
    }
    assert.equal(sent, 0, 'no refused value reached the device');
    await admin.unroute('**/api/UserManagementDp/Set*');
  });

  test('a refused save shows every policy section as the device put it back, and says which', async () => {
    const device = admin.api;
    const before = await device.call('UserManagementDp', 'GetSessionPolicyConfig');
    // Saved without a problem first: the device now holds a session policy changed since its start.
    await show(admin, '/pages/UserManager#sessions');
    await admin.locator('#session-maxSessionTimeMinutes').fill('777');
    await admin.locator('#session-policy').getByRole('button', { name: 'Save' }).click();
    await admin.locator('#session-policy').getByRole('status').getByText('Saved.').waitFor();

    // Then a ruleset change that only the device finds wrong: letters are no symbols.
    await admin.getByRole('tab', { name: 'Password rules' }).click();
    await admin.locator('#default-allowedASCIISymbols').fill('!ab');
    await admin.locator('#rulesets').getByRole('button', { name: 'Save' }).click();
    const refusal = admin.locator('#rulesets').getByRole('alert');
    await refusal.waitFor();
    assert.match(await refusal.textContent(), /allowed symbols may only be/);
    assert.match(await refusal.textContent(), /put these sections back to their state at its last start: Sessions\./);

    await admin.getByRole('tab', { name: 'Sessions' }).click();
    assert.equal(await admin.locator('#session-maxSessionTimeMinutes').inputValue(), String(before.maxSessionTimeMinutes));
    assert.match(await admin.locator('#session-policy .status').textContent(), /put this section back .* change of Password rules was refused/);
    assert.deepEqual(await device.call('UserManagementDp', 'GetSessionPolicyConfig'), before);
  });
});
