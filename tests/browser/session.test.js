// Working on the user manager over time: tabs in the URL, the question before leaving unsaved
// edits, the warning before the idle end and a login over the page that keeps what was typed.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { loggedInPage, ready, saveAfterSessionEnded, show, startSuite } from './lib/pages.js';

const adminPassword = 'Kyr-Session-Board-2026!';
let suite;
let admin;

describe('user manager over time', () => {
  before(async () => {
    suite = await startSuite({ adminPassword });
    admin = suite.admin;
  });

  after(() => suite?.stop());

  test('the chosen tab is in the URL: reload and the back button show it again', async () => {
    await show(admin, '/pages/UserManager');
    const selected = () => admin.getByRole('tab', { selected: true }).textContent();
    assert.equal(await selected(), 'Users');
    await admin.getByRole('tab', { name: 'Sessions' }).click();
    assert.match(admin.url(), /#sessions$/);
    await admin.getByRole('tab', { name: 'Sessions' }).press('ArrowRight'); // keys move like clicks
    // The tab follows the fragment when the browser reports its change, a moment after the key.
    await admin.getByRole('tab', { name: 'Login text', selected: true }).waitFor();
    await admin.reload();
    await ready(admin);
    assert.equal(await selected(), 'Login text');
    assert.equal(await admin.locator('#login-text-value').isVisible(), true);
    await admin.goBack();
    await admin.getByRole('tab', { name: 'Sessions', selected: true }).waitFor();
    assert.equal(await admin.locator('#login-text-value').isVisible(), false);
  });

  test('leaving with unsaved edits asks first; after saving it does not', async () => {
    await show(admin, '/pages/UserManager#sessions');
    await admin.locator('#session-maxConcurrentSessionsCount').fill('7');
    const asked = admin.leaveWarnings;
    await admin.goto('/password.html');
    assert.equal(admin.leaveWarnings, asked + 1, 'asked before leaving the edit');

    await show(admin, '/pages/UserManager#sessions');
    await admin.locator('#session-maxConcurrentSessionsCount').fill('7');
    await admin.locator('#session-policy').getByRole('button', { name: 'Save' }).click();
    await admin.locator('#session-policy').getByText('Saved.').waitFor();
    await admin.goto('/password.html');
    assert.equal(admin.leaveWarnings, asked + 1, 'nothing to lose after saving');
  });

  test('two minutes before the idle end a dialog offers to stay logged in', async () => {
    const page = await loggedInPage(suite.browser, suite.host, { password: adminPassword });
    await page.clock.install();
    await page.goto('/pages/UserManager');
    await ready(page);
    await page.clock.fastForward('27:00');
    assert.equal(await page.getByRole('dialog').count(), 0, 'no warning yet');
    await page.clock.fastForward('01:01');
    const warning = page.getByRole('dialog', { name: 'Still there?' });
    await warning.getByText('Your session ends in 2 minutes').waitFor();
    const kept = page.waitForRequest('**/api/session');
    await warning.getByRole('button', { name: 'Stay logged in' }).click();
    await kept;
    await warning.waitFor({ state: 'detached' });
    await page.context().close();
  });

  test('after the session ended, logging in over the page keeps what was typed and saves it', async () => {
    const text = await saveAfterSessionEnded(admin, adminPassword);
    assert.equal(await admin.locator('#login-text-value').inputValue(), text);
    const banner = await admin.request.get('/api/login-banner');
    assert.deepEqual((await banner.json()).lines, [text]);
  });
});
