// Every page in both languages on a desktop and a phone without an axe-core violation or a control
// cut off at the screen's edge; the styled 403 and 404 pages with the links that fit the visitor;
// and with login switched off, a visitor gets what the confirmation promised.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { axeViolations } from './lib/axe.js';
import { newUserPage } from './lib/browser.js';
import { addUser, controlsCutOff, logIn, loggedInPage, ready, show, startSuite } from './lib/pages.js';

const adminPassword = 'Kyr-Access-Board-2026!';
const operator = { user: 'operator1', password: 'Op-Access-2026x' };
let suite;
const pageOf = (who, options) => loggedInPage(suite.browser, suite.host, { ...who, ...options });
const visitorPage = (options) => newUserPage(suite.browser, suite.host.baseUrl, options);

const viewports = { desktop: { width: 1280, height: 900 }, phone: { width: 390, height: 844 } };
const languages = { en: 'en-US', de: 'de-DE' };

describe('every page for everyone', () => {
  before(async () => {
    suite = await startSuite({ adminPassword, users: [{ ...operator, roles: ['Operator'] }], args: ['--allow-auth-deactivation'] });
    await suite.admin.api.call('SystemUseNotificationDp', 'SetSystemUseNotification', { body: 'SystemUseNotification=Authorised use only.' });
    await suite.admin.context().close();
  });

  after(() => suite?.stop());

  for (const [language, locale] of Object.entries(languages)) {
    for (const [viewportName, viewport] of Object.entries(viewports)) {
      test(`axe finds nothing and no control is cut off on any page: ${language}, ${viewportName}`, async () => {
        const found = [];
        const check = async (page, where) => {
          for (const violation of await axeViolations(page)) found.push(`${where}: ${violation}`);
          for (const control of await controlsCutOff(page)) found.push(`${where}: "${control}" is cut off`);
        };
        const visitor = await visitorPage({ ...viewport, locale });
        await show(visitor, '/login.html');
        assert.equal(await visitor.evaluate(() => document.documentElement.lang), language);
        await check(visitor, 'login');
        await show(visitor, '/no-such-page.html');
        await check(visitor, '404');

        const admin = await pageOf({ password: adminPassword }, { ...viewport, locale });
        await show(admin, '/pages/UserManager');
        for (const tab of await admin.getByRole('tab').all()) {
          await tab.click();
          await check(admin, `user manager, ${await tab.textContent()}`);
        }
        await admin.goto('/pages/UserManager#users');
        await admin.locator('#user-table tbody tr').first().getByRole('button').nth(1).click();
        await check(admin, 'set password dialog');
        await admin.keyboard.press('Escape');
        await show(admin, '/pages/LdapConfiguration');
        await check(admin, 'LDAP');
        await show(admin, '/password.html');
        await check(admin, 'own password');
        // The second factor's set-up with its QR code and key (left unconfirmed).
        await admin.locator('#enrol-start').click();
        await admin.locator('#enrol-form').waitFor();
        await check(admin, 'second factor set-up');
        await admin.locator('#enrol-cancel').click();
        await show(admin, '/security-log.html');
        await check(admin, 'security log');
        await admin.locator('#live-sessions tbody button').first().click();
        await check(admin, 'end session question');
        await admin.keyboard.press('Escape');

        // The forced change of an initial password, on the login page.
        const fresh = `fresh-${language}-${viewportName}`;
        await addUser(admin.api, fresh, 'Given-Fresh-2026x');
        await logIn(visitor, fresh, 'Given-Fresh-2026x');
        await visitor.locator('#forced-change').waitFor();
        await check(visitor, 'forced change');

        const op = await pageOf(operator, { ...viewport, locale });
        await show(op, '/pages/UserManager');
        await check(op, '403');
        for (const page of [visitor, admin, op]) found.push(...page.errors);
        await Promise.all([visitor.context().close(), admin.context().close(), op.context().close()]);
        assert.deepEqual(found, []);
      });
    }
  }

  test('German row buttons stay on one line each, side by side', async () => {
    const admin = await pageOf({ password: adminPassword }, { locale: 'de-DE' });
    await show(admin, '/pages/UserManager');
    const rows = await admin.locator('.row-actions').evaluateAll((cells) =>
      cells.map((cell) => {
        const buttons = [...cell.querySelectorAll('button')];
        const tops = new Set(buttons.map((button) => button.getBoundingClientRect().top));
        const lineHeight = parseFloat(getComputedStyle(buttons[0]).lineHeight);
        const wrapped = buttons.filter((button) => button.clientHeight - 2 * parseFloat(getComputedStyle(button).paddingTop) > lineHeight * 1.5);
        return { rows: tops.size, wrapped: wrapped.map((button) => button.textContent) };
      }),
    );
    assert.ok(rows.length >= 2);
    for (const row of rows) assert.deepEqual(row, { rows: 1, wrapped: [] });
    await admin.context().close();
  });

  test('403 and 404 are styled pages whose links fit the visitor', async () => {
    const cases = [
      { who: 'visitor', url: '/pages/NoSuchPage', status: 404, heading: 'Page not found', link: 'Log in', not: 'Go to your start page' },
      { who: 'operator', url: '/nothing/here.html', status: 404, heading: 'Page not found', link: 'Go to your start page', not: 'Log in' },
      { who: 'operator', url: '/pages/UserManager', status: 403, heading: 'No permission', link: 'Go to your start page', not: 'Log in' },
    ];
    for (const { who, url, status, heading, link, not } of cases) {
      const page = who === 'visitor' ? await visitorPage() : await pageOf(operator);
      assert.equal((await page.goto(url)).status(), status, url);
      await ready(page);
      await page.getByRole('heading', { name: heading, level: 1 }).waitFor();
      assert.equal(await page.locator('main').getByRole('link', { name: link }).isVisible(), true, `${who} ${url}: ${link}`);
      assert.equal(await page.getByRole('link', { name: not }).count(), 0, `${who} ${url}: no ${not}`);
      if (who === 'operator') assert.equal(await page.locator('main').getByRole('link', { name: link }).getAttribute('href'), '/password.html');
      await page.context().close();
    }
  });

  test('with login switched off, a visitor gets what the confirmation promised', async () => {
    const admin = await pageOf({ password: adminPassword });
    await show(admin, '/pages/UserManager#login-required');
    await admin.getByLabel('Users must log in').uncheck();
    const question = admin.getByRole('dialog');
    assert.match(await question.textContent(), /only what the role "Unauthenticated" is allowed \(by default nothing\)/);
    await question.getByRole('button', { name: 'Switch off' }).click();
    await admin.getByText('Login is now switched off.').waitFor();

    try {
      const visitor = await visitorPage();
      assert.equal((await visitor.goto('/pages/UserManager')).status(), 403);
      await ready(visitor);
      await visitor.locator('main').getByRole('link', { name: 'Log in' }).waitFor();
      await show(visitor, '/password.html');
      await visitor.getByText('Log in to see and change your password.').waitFor();
      await visitor.context().close();
    } finally {
      await admin.getByLabel('Users must log in').check();
      await admin.getByText('Login is now required.').waitFor();
    }
    await admin.context().close();
  });
});
