// axe-core (from npm) run inside a page. The source is evaluated through the browser's debugging
// protocol, so the pages' Content-Security-Policy (no inline script) does not stand in the way.
import fs from 'node:fs';
import { createRequire } from 'node:module';

const source = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

// Every violation of the page as it is now, one line each: "rule: element, element".
export async function axeViolations(page) {
  if (!(await page.evaluate(() => Boolean(window.axe)))) await page.evaluate(source);
  return page.evaluate(async () => {
    const results = await window.axe.run(document, { resultTypes: ['violations'] });
    return results.violations.map((v) => `${v.id}: ${v.nodes.map((node) => node.target.join(' ')).join(', ')}`);
  });
}
