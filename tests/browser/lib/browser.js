// Debian's Chromium, headless, driven through playwright-core. Playwright gives every launch a new
// empty profile (--user-data-dir in a fresh temporary folder); each user gets a context of its own.
import fs from 'node:fs';
import path from 'node:path';
import { chromium } from 'playwright-core';
import { screenshotDir } from './paths.js';

const chromiumPath = process.env.KYR_CHROMIUM || '/usr/bin/chromium';

export function launchBrowser() {
  return chromium.launch({
    executablePath: chromiumPath,
    headless: true,
    args: [
      '--headless',
      '--no-sandbox',
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
    ],
  });
}

export async function newUserPage(browser, baseUrl, { width = 1280, height = 900, locale = 'en-US' } = {}) {
  const context = await browser.newContext({ baseURL: baseUrl, viewport: { width, height }, locale });
  context.setDefaultTimeout(10000);
  const page = await context.newPage();
  // A page script error is a test failure, not something to scroll past in a log.
  page.errors = [];
  page.on('pageerror', (error) => page.errors.push(error));
  return page;
}

export async function screenshot(page, name) {
  fs.mkdirSync(screenshotDir, { recursive: true });
  const file = path.join(screenshotDir, `${name}.png`);
  await page.screenshot({ path: file, fullPage: true });
  return file;
}
