// The styled 403 and 404 pages the host answers with. The links depend on the session: a
// logged-in user is offered the own start page, a visitor the login (coming back here after it).
import { getSession } from './api.js';
import { initI18n, t } from './i18n.js';
import { landingPage, renderHeader, runPage } from './shell.js';
import { $ } from './ui.js';

async function main() {
  const languages = await initI18n();
  let session = { loggedIn: false, passwordChangeRequired: false };
  try {
    session = await getSession();
  } catch {
    // The page still says what happened without the session.
  }
  renderHeader(session, languages);
  const setTitle = () => (document.title = `${t(document.body.dataset.titleKey)} – ${t('app.title')}`);
  setTitle();
  document.addEventListener('languagechange', setTitle);
  if (session.loggedIn) {
    const held = session.passwordChangeRequired || session.secondFactorEnrolmentRequired;
    $('#error-start').href = held ? '/password.html' : await landingPage();
    $('#error-start').hidden = false;
  } else {
    $('#error-login').href = `/login.html?next=${encodeURIComponent(location.pathname + location.search)}`;
    $('#error-login').hidden = false;
  }
  document.body.dataset.ready = 'true';
}

runPage(main);
