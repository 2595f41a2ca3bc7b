// Steps shared by the page tests: waiting for a page's script, logging in, the user manager's
// tabs, and quick set-up through the HTTP API in the page's own browser context (its cookies,
// its acceptance of the host's certificate).
import { newUserPage } from './browser.js';

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

export async function openTab(page, name) {
  await page.getByRole('tab', { name, exact: true }).click();
  await page.getByRole('tabpanel', { name, exact: true }).waitFor();
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
    async call(provider, fn, { body, json, query } = {}) {
      const url = `/api/${provider}/${fn}${query ? `?${query}` : ''}`;
      if (body === undefined && json === undefined && fn.startsWith('Get')) return (await check(await page.request.get(url))).result;
      const headers = { 'X-CSRF-Token': token, 'Content-Type': json !== undefined ? 'application/json' : 'text/plain' };
      const data = json !== undefined ? JSON.stringify(json) : body ?? '';
      return (await check(await page.request.post(url, { headers, data }))).result;
    },
  };
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
