// The user manager page: each section loads and saves on its own, so one failing part leaves the
// others usable.
import { initPage, runPage } from './shell.js';
import { initAuthRequired } from './um/auth-required.js';
import { initBlockList } from './um/block-list.js';
import { initLoginText } from './um/login-text.js';
import { initRestart } from './um/restart.js';
import { initRulesets } from './um/rulesets.js';
import { initSecondFactorPolicy } from './um/second-factor-policy.js';
import { hasChanges } from './um/section.js';
import { initSessionPolicy } from './um/session-policy.js';
import { initTabs } from './um/tabs.js';
import { initUsers } from './um/users.js';

async function main() {
  initTabs();
  const session = await initPage();
  if (!session) return;
  // Leaving with edits that were not saved asks first (the browser's own question).
  window.addEventListener('beforeunload', (event) => {
    if (hasChanges()) event.preventDefault();
  });
  initRestart();
  await Promise.all([initUsers(session), initAuthRequired(), initRulesets(), initBlockList(), initSessionPolicy(), initLoginText(), initSecondFactorPolicy()]);
  document.body.dataset.ready = 'true';
}

runPage(main);
