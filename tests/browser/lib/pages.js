// Steps shared by the page tests: a host with its users, waiting for a page's script, logging in,
// the user manager's tabs, and quick set-up through the HTTP API in the page's own browser context
// (its cookies, its acceptance of the host's certificate).
import { launchBrowser, newUserPage } from './browser.js';
import { startHost } from './host.js';

const initialAdminPassword = 'First-Start-Admin-1';

// Waits for the page's script to be ready, so that no click lands on a form without its handler.
export async function ready(page, url) {
  if (url) await page.waitForURL(url, { timeout: 60000 });
  await page.locator('body[data-ready="true"]').waitFor();
}

// Loads a page afresh, also when only the URL's fragment differs from the current one.
export async function openFresh(page, url) {
  await page.goto('about:blank');
  await page.goto(url);
}

// Loads a page afresh and waits for its script.
export async function show(page, url) {
  await openFresh(page, url);
  await ready(page);
}

// The shown controls that end beyond the screen's right edge: a wide page, or a control pushed out
// of its card and cut off by a scroll box (the page itself then does not overflow).
export function controlsCutOff(page) {
  return page.evaluate(() =>
    [...document.querySelectorAll('button, input, select, textarea, a')]
      .filter((control) => control.getClientRects().length && control.getBoundingClientRect().right > window.innerWidth)
      .map((control) => control.textContent.trim() || control.id || control.name));
}

export async function openTab(page, name) {
  await page.getByRole('tab', { name, exact: true }).click();
  await page.getByRole('tabpanel', { name, exact: true }).waitFor();
}

// Logs in through the login page's form, in any language; landing: the page to wait for afterwards.
export async function logIn(page, user, password, landing) {
  await show(page, '/login.html');
  await page.locator('#username').fill(user);
  await page.locator('#password').fill(password);
  await page.locator('#login-form button[type="submit"]').click();
  if (landing) await ready(page, landing);
}

// Fills and sends a form for a new password (the forced change, the own page, a user's dialog).
export async function submitPassword(form, password, { current, button = 'Change password' } = {}) {
  if (current) await form.getByLabel('Current password').fill(current);
  await form.getByLabel('New password', { exact: true }).fill(password);
  await form.getByLabel('Confirm new password').fill(password);
  await form.getByRole('button', { name: button }).click();
}

// Ends the page's session behind its back, as the host or another browser would.
export async function endSession(page) {
  const { csrfToken } = await (await page.request.get('/api/session')).json();
  if (csrfToken) await page.request.post('/api/logout', { headers: { 'X-CSRF-Token': csrfToken } });
}

// Types a login text, has the session end behind the page's back, saves, and logs in again over
// the page; answer(dialog): what the dialog asks after the password, if anything. The text typed
// before must be what is saved.
export async function saveAfterSessionEnded(page, password, answer = async () => {}) {
  const text = 'Typed before the session ended.';
  await show(page, '/pages/UserManager#login-notice');
  await page.locator('#login-text-value').fill(text);
  await endSession(page);
  await page.locator('#login-text').getByRole('button', { name: 'Save' }).click();
  const dialog = page.getByRole('dialog', { name: 'Log in again' });
  await dialog.getByLabel('Password', { exact: true }).fill(password);
  await dialog.getByRole('button', { name: 'Log in' }).click();
  await answer(dialog);
  await page.locator('#login-text').getByText('Saved.').waitFor();
  return text;
}

// The HTTP API as the page's user: login, then module functions with the session's CSRF token.
export function apiOf(page) {
  let token = '';
  const check = async (response) => {
    const data = await response.json();
    if (!response.ok() || data.error) throw new Error(`${response.url()}: ${response.status()} ${JSON.stringify(data)}`);
    return data;
  };
  return {
    async login(username, password) {
      const data = await check(await page.request.post('/api/login', { data: { username, password } }));
      token = data.csrfToken;
      return data;
    },
    // Takes up the session the page itself logged in with.
    async resume() {
      token = (await (await page.request.get('/api/session')).json()).csrfToken;
    },
    async call(provider, fn, { body, json, query } = {}) {
      const url = `/api/${provider}/${fn}${query ? `?${query}` : ''}`;
      if (body === undefined && json === undefined && fn.startsWith('Get')) return (await check(await page.request.get(url))).result;
      const headers = { 'X-CSRF-Token': token, 'Content-Type': json !== undefined ? 'application/json' : 'text/plain' };
      const data = json !== undefined ? JSON.stringify(json) : body ?? '';
      return (await check(await page.request.post(url, { headers, data }))).result;
    },
  };
}

// Adds a user with a given (initial) password and, if any, roles.
export async function addUser(api, user, password, { roles = [], admin = false } = {}) {
  await api.call('UserManagementDp', 'AddUser', { body: `username=${user}&password=${password}&confirmPassword=${password}` });
  if (roles.length) {
    await api.call('UserManagementDp', 'ModifyUserConfig', { json: { userConfigItem: { userName: user, hasAdminRuleset: admin, userRoles: roles } } });
  }
}

// A page of a logged-in user (logged in through the API, so the test starts where it matters).
// initial: the user's password is an initial one, replaced by `password` first.
export async function loggedInPage(browser, host, { user = 'admin', password, initial, ...options }) {
  const page = await newUserPage(browser, host.baseUrl, options);
  const api = apiOf(page);
  if (initial) {
    await api.login(user, initial);
    const query = new URLSearchParams({ currentPassword: initial, newPassword: password, confirmNewPassword: password });
    await api.call('UserManagementInfoDp', 'ChangeCurrentUserPassword', { query: query.toString() });
  }
  await api.login(user, password);
  page.api = api;
  return page;
}

// A host and a browser, the administrator logged in past the initial password, and further users
// ({ user, password, roles }) who replaced the passwords given them. stop() ends both.
export async function startSuite({ adminPassword, users = [], args } = {}) {
  const host = await startHost(initialAdminPassword, { args });
  const browser = await launchBrowser().catch(async (error) => {
    await host.stop();
    throw error;
  });
  const stop = async () => {
    await browser.close();
    await host.stop();
  };
  try {
    const admin = await loggedInPage(browser, host, { password: adminPassword, initial: initialAdminPassword });
    for (const { user, password, roles } of users) {
      await addUser(admin.api, user, 'Given-Pass-2026x', { roles });
      const page = await loggedInPage(browser, host, { user, password, initial: 'Given-Pass-2026x' });
      await endSession(page); // so that it does not linger in the session lists
      await page.context().close();
    }
    return { host, browser, admin, stop };
  } catch (error) {
    await stop();
    throw error;
  }
}
