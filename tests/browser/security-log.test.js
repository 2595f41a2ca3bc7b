// The security log page and the live sessions: records after real actions, filters, paging and the
// CSV export with the same filters, the storage warning, the refusal for others; ending another
// session as administrator, and an own other session on the own-password page.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { endSession, loggedInPage, ready, show, startSuite } from './lib/pages.js';

const adminPassword = 'Kyr-Audit-Board-2026!';
const operator = { user: 'operator1', password: 'Op-Audit-2026x' };
// Small enough that the storage warning comes after a few dozen records.
const maxRecords = 80;
let suite;
let admin;

// Logs the page's user out before its browser goes, so its session does not linger in the lists.
async function leave(page) {
  await endSession(page);
  await page.context().close();
}
const operatorPage = () => loggedInPage(suite.browser, suite.host, operator);

const eventsShown = (page) => page.locator('#audit-table tbody td:nth-of-type(2)').allTextContents();
const sequencesShown = async (page) => (await page.locator('#audit-table tbody th').allTextContents()).map(Number);

describe('security log and live sessions', () => {
  before(async () => {
    suite = await startSuite({ adminPassword, users: [{ ...operator, roles: ['Operator'] }], args: ['--audit-max-records', String(maxRecords)] });
    admin = suite.admin;
    await admin.request.post('/api/login', { data: { username: 'mallory', password: 'guessed-1' } }); // refused
  });

  after(() => suite?.stop());

  test('the log shows the actions; a filter narrows the table and the CSV export alike', async () => {
    await show(admin, '/pages/UserManager');
    await admin.getByRole('navigation').getByRole('link', { name: 'Security log' }).click();
    await ready(admin, '**/security-log.html');
    const events = await eventsShown(admin);
    for (const id of ['user.added', 'user.config.changed', 'user.password.changed', 'session.login.failure', 'session.login.success']) {
      assert.ok(events.includes(id), `${id} in ${events}`);
    }
    const sequences = await sequencesShown(admin);
    assert.deepEqual(sequences, [...sequences].sort((a, b) => b - a), 'newest first');

    await admin.getByLabel('Event').selectOption('session.login.failure');
    await admin.getByLabel('Outcome').selectOption('failure');
    await admin.getByRole('button', { name: 'Show' }).click();
    await admin.locator('#audit-table tbody tr').first().waitFor();
    await admin.waitForFunction(() => document.querySelectorAll('#audit-table tbody tr').length === 1);
    const row = admin.locator('#audit-table tbody tr');
    assert.match(await row.textContent(), /session\.login\.failure.*failure.*mallory/);

    const href = await admin.getByRole('link', { name: 'Export CSV' }).getAttribute('href');
    // The CSV's own form is the host's (tests/integration); the link carries the page's filters.
    const lines = (await (await admin.request.get(href)).text()).trim().split('\r\n');
    assert.equal(lines.length, 2, 'the head and only the filtered record');
    assert.match(lines[1], /"session\.login\.failure".*"mallory"/);

    await admin.getByLabel('User').fill('nobody-here');
    await admin.getByRole('button', { name: 'Show' }).click();
    await admin.getByText('No records match.').waitFor();
    await admin.getByRole('button', { name: 'Clear filters' }).click();
    await admin.waitForFunction(() => document.querySelectorAll('#audit-table tbody tr').length > 5);
  });

  test('older and newer pages by sequence number; the storage warning once the log fills up', async () => {
    for (let i = 0; i < 60; i += 1) {
      await admin.api.call('SystemUseNotificationDp', 'SetSystemUseNotification', { body: `SystemUseNotification=Notice ${i}` });
    }
    await show(admin, '/security-log.html');
    await admin.getByText('The security log is nearly full').waitFor();
    const first = await sequencesShown(admin);
    assert.equal(first.length, 50);
    assert.equal(await admin.getByRole('button', { name: 'Newer' }).isDisabled(), true);

    await admin.getByRole('button', { name: 'Older' }).click();
    await admin.waitForFunction((top) => Number(document.querySelector('#audit-table tbody th')?.textContent) < top, first.at(-1));
    const older = await sequencesShown(admin);
    assert.equal(older[0], first.at(-1) - 1, 'goes on right below the page before');
    assert.ok(older.length > 0 && older.length < 50, 'the rest of the kept records');
    assert.equal(await admin.getByRole('button', { name: 'Older' }).isDisabled(), true);

    await admin.getByRole('button', { name: 'Newer' }).click();
    await admin.waitForFunction((top) => Number(document.querySelector('#audit-table tbody th')?.textContent) === top, first[0]);
    assert.deepEqual(await sequencesShown(admin), first);
  });

  test('another user sees the refusal and no link to the log', async () => {
    const op = await operatorPage();
    await show(op, '/security-log.html');
    await op.getByText('You are not allowed to do this.').waitFor();
    assert.equal(await op.locator('#admin-area').isVisible(), false);
    assert.equal(await op.getByRole('link', { name: 'Security log' }).count(), 0);
    await leave(op);
  });

  test('an administrator ends another session after confirming, and that browser is logged out', async () => {
    const op = await operatorPage();
    await show(op, '/password.html');
    await show(admin, '/security-log.html');
    const sessions = admin.locator('#live-sessions');
    assert.match(await sessions.locator('tr', { hasText: 'this session' }).textContent(), /admin/);
    const end = sessions.getByRole('button', { name: /End session of operator1/ });
    await end.click();
    await admin.getByRole('dialog').getByRole('button', { name: 'Cancel' }).click();
    assert.equal(await end.count(), 1, 'cancelled: still there');
    await end.click();
    await admin.getByRole('dialog').getByRole('button', { name: 'End session' }).click();
    await sessions.getByText('The session of operator1 has been ended.').waitFor();
    await end.waitFor({ state: 'detached' }); // the list is read again after the message
    assert.equal(await end.count(), 0);

    await op.reload();
    await op.waitForURL('**/login.html**');
    await op.context().close();
  });

  test('on the own-password page a user sees the own sessions and ends the other one', async () => {
    const laptop = await operatorPage();
    const phone = await operatorPage();
    await show(laptop, '/password.html');
    const rows = laptop.locator('#live-sessions tbody tr');
    assert.equal(await rows.count(), 2, 'only the own sessions, not the administrator\'s');
    assert.equal(await rows.filter({ hasText: 'this session' }).getByRole('button').count(), 0, 'the own one cannot be ended here');
    await rows.filter({ hasNotText: 'this session' }).getByRole('button', { name: /End session of/ }).click();
    await laptop.getByRole('dialog').getByRole('button', { name: 'End session' }).click();
    await laptop.locator('#live-sessions').getByText('has been ended').waitFor();
    await rows.nth(1).waitFor({ state: 'detached' }); // the list is read again after the message
    assert.equal(await rows.count(), 1);

    await phone.goto('/password.html');
    await phone.waitForURL('**/login.html**');
    await laptop.reload();
    await ready(laptop);
    await leave(laptop);
    await phone.context().close();
  });
});
