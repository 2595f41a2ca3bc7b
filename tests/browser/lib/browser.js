// Debian's Chromium, headless, driven through playwright-core; each user gets a context (a fresh
// profile) of its own.
import path from 'node:path';
import { chromium } from 'playwright-core';
import { screenshotDir } from './paths.js';

export function launchBrowser() {
  return chromium.launch({ executablePath: process.env.KYR_CHROMIUM || '/usr/bin/chromium' });
}

// The host may answer over HTTPS with a certificate of its own, which the browser is told to accept.
export async function newUserPage(browser, baseURL, { width = 1280, height = 900, locale = 'en-US' } = {}) {
  const context = await browser.newContext({ baseURL, viewport: { width, height }, locale, ignoreHTTPSErrors: true });
  context.setDefaultTimeout(10000);
  const page = await context.newPage();
  // A page script error is a test failure, not something to scroll past in a log.
  page.errors = [];
  page.on('pageerror', (error) => page.errors.push(String(error)));
  // The question before leaving with unsaved changes is counted and answered with "leave".
  page.leaveWarnings = 0;
  page.on('dialog', (dialog) => {
    if (dialog.type() !== 'beforeunload') return;
    page.leaveWarnings += 1;
    dialog.accept();
  });
  return page;
}

export function screenshot(page, name) {
  return page.screenshot({ path: path.join(screenshotDir, `${name}.png`), fullPage: true });
}
