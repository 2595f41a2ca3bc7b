// Debian's Chromium, headless, driven through playwright-core; each user gets a context (a fresh
// profile) of its own.
import path from 'node:path';
import { chromium } from 'playwright-core';
import { screenshotDir } from './paths.js';

// The content policy the host sends (added here as well, so that every page keeps to it whichever
// host serves it): no inline script or style, no eval.
const contentPolicy =
  "default-src 'self'; script-src 'self'; style-src 'self'; img-src 'self' data:; object-src 'none'; " +
  "base-uri 'none'; frame-ancestors 'none'; form-action 'self'";

async function keepToPolicy(route) {
  if (route.request().resourceType() !== 'document') return route.continue();
  let response;
  try {
    response = await route.fetch();
  } catch {
    return route.continue(); // e.g. the host restarting: the browser sees the refusal itself
  }
  return route.fulfill({ response, headers: { ...response.headers(), 'content-security-policy': contentPolicy } });
}

export function launchBrowser() {
  return chromium.launch({ executablePath: process.env.KYR_CHROMIUM || '/usr/bin/chromium' });
}

// The host may answer over HTTPS with a certificate of its own, which the browser is told to accept.
export async function newUserPage(browser, baseURL, { width = 1280, height = 900, locale = 'en-US' } = {}) {
  const context = await browser.newContext({ baseURL, viewport: { width, height }, locale, ignoreHTTPSErrors: true });
  context.setDefaultTimeout(10000);
  await context.route('**/*', keepToPolicy);
  const page = await context.newPage();
  // A page script error, or anything the content policy refused, is a test failure, not something
  // to scroll past in a log.
  page.errors = [];
  page.on('pageerror', (error) => page.errors.push(String(error)));
  page.on('console', (message) => {
    if (message.type() === 'error' && /Content Security Policy/i.test(message.text())) page.errors.push(message.text());
  });
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
