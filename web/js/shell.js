// The frame of every page after login: header with navigation, language switch and logout;
// sends visitors without a session to the login page and users with a pending password change or a
// second factor still to set up to the password page.
import { call, getSession, logout, onEnrolmentRequired } from './api.js';
import { applyTranslations, currentLanguage, has, initI18n, setLanguage, t } from './i18n.js';
import { keepSession } from './session-keeper.js';
import { $, el, showError, showStatus } from './ui.js';

export function goToLogin() {
  const next = location.pathname + location.search;
  location.assign(`/login.html?next=${encodeURIComponent(next)}`);
}

// Where a user lands after login: the user manager for those allowed to configure, else the own
// password page.
export async function landingPage() {
  try {
    await call('UserManagementDp', 'IsUserAuthenticationRequired');
    return '/pages/UserManager';
  } catch {
    return '/password.html';
  }
}

export function languageSwitch(languages) {
  const select = el('select', { id: 'language', onchange: (event) => setLanguage(event.target.value) });
  for (const language of languages) {
    select.append(el('option', { value: language.code, text: language.name }));
  }
  select.value = currentLanguage();
  return el('div', { class: 'language' }, el('label', { for: 'language', 'data-i18n': 'common.language' }), select);
}

async function addNavigation(nav, session) {
  const links = [];
  // A session that must change its password or set up its second factor first has only its own
  // page (the host refuses the rest, so nothing is asked).
  if (!session.passwordChangeRequired && !session.secondFactorEnrolmentRequired) {
    const probes = await Promise.allSettled([
      call('UserManagementDp', 'IsUserAuthenticationRequired'),
      call('LdapDp', 'IsLdapConfigurationEnabled'),
    ]);
    if (probes[0].status === 'fulfilled') links.push(['/pages/UserManager', 'nav.userManager']);
    if (probes[0].status === 'fulfilled') links.push(['/security-log.html', 'nav.securityLog']);
    if (probes[1].status === 'fulfilled') links.push(['/pages/LdapConfiguration', 'nav.ldap']);
  }
  links.push(['/password.html', 'nav.password']);
  for (const [href, key] of links) {
    const link = el('a', { href, 'data-i18n': key });
    if (href === location.pathname) link.setAttribute('aria-current', 'page');
    nav.append(link);
  }
  applyTranslations(nav);
}

export function renderHeader(session, languages) {
  const header = $('#app-header');
  const nav = el('nav', { 'aria-label': 'main' });
  const account = el('div', { class: 'account' });
  if (!session.loggedIn) {
    // Only reachable while login is not required: offer it anyway.
    account.append(el('a', { href: '/login.html', class: 'login-link', 'data-i18n': 'login.submit' }));
  } else {
    account.append(
      el('span', { class: 'user', text: session.userName || '' }),
      el('button', {
        type: 'button',
        class: 'secondary',
        'data-i18n': 'nav.logout',
        onclick: async () => {
          try {
            await logout();
          } finally {
            location.assign('/login.html');
          }
        },
      }),
    );
  }
  header.replaceChildren(
    el('a', { class: 'brand', href: '/', 'data-i18n': 'app.title' }),
    nav,
    el('div', { class: 'tools' }, languageSwitch(languages), account),
  );
  applyTranslations(header);
  addNavigation(nav, session);
}

// allowPendingChange: the page serves a session that must change its password or set up its second
// factor first (only the own password page does).
export async function initPage({ allowPendingChange = false } = {}) {
  const languages = await initI18n();
  const session = await getSession();
  if (!session.loggedIn && session.authenticationRequired) {
    goToLogin();
    return null;
  }
  if ((session.passwordChangeRequired || session.secondFactorEnrolmentRequired) && !allowPendingChange) {
    location.assign('/password.html');
    return null;
  }
  renderHeader(session, languages);
  if (session.loggedIn) keepSession(session);
  // Held to the set-up of a second factor while the page is open: the own password page holds it.
  if (!allowPendingChange) onEnrolmentRequired(() => location.assign('/password.html'));
  document.title = `${t(document.body.dataset.titleKey || 'app.title')} – ${t('app.title')}`;
  document.addEventListener('languagechange', () => {
    document.title = `${t(document.body.dataset.titleKey || 'app.title')} – ${t('app.title')}`;
  });
  return session;
}

// Runs a page's start; a failure there (device unreachable, say) is shown on the page instead of
// leaving it blank.
export function runPage(main) {
  main().catch((error) => {
    const status = el('p', { class: 'status' });
    $('main').prepend(status);
    if (has('errors.network')) showError(status, error);
    else showStatus(status, 'The page could not be loaded. Check the connection to the device and reload.', 'error');
  });
}
