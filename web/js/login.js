// The login page: the login text, the login form with its waits, and the change of an initial or
// expired password before anything else.
import { ApiError, getLoginBanner, getSession, login } from './api.js';
import { decodeLines, isBlankText } from './entities.js';
import { initI18n, t, applyTranslations } from './i18n.js';
import { bindPasswordChange } from './password-change.js';
import { safeNext } from './redirect.js';
import { landingPage, languageSwitch, runPage } from './shell.js';
import { addRevealButton } from './reveal.js';
import { $, busy, el, showError, showStatus } from './ui.js';

function nextTarget() {
  return safeNext(new URLSearchParams(location.search).get('next'), location.origin);
}

async function continueAfterLogin() {
  location.assign(nextTarget() || (await landingPage()));
}

async function showBanner() {
  let lines = [];
  try {
    lines = decodeLines(await getLoginBanner());
  } catch {
    return; // the login itself still works without the text
  }
  if (isBlankText(lines)) return;
  // Text, never HTML: the login text is whatever an administrator typed.
  $('#banner-text').textContent = lines.join('\n');
  $('#banner').hidden = false;
}

let countdown = null;

function showWait(status, button, seconds) {
  clearInterval(countdown);
  let left = seconds;
  const render = () => {
    showStatus(status, `${t('login.failed')} ${t('login.wait', { seconds: left })}`, 'error');
  };
  button.disabled = true;
  render();
  countdown = setInterval(() => {
    left -= 1;
    if (left <= 0) {
      clearInterval(countdown);
      countdown = null;
      button.disabled = false;
      showStatus(status, t('login.waitOver'), 'ok');
      return;
    }
    render();
  }, 1000);
}

function bindLogin(form, onPasswordChange) {
  const status = $('.status', form);
  // The wait belongs to one user name; another name may try at once.
  form.username.addEventListener('input', () => {
    if (!countdown) return;
    clearInterval(countdown);
    countdown = null;
    $('button[type="submit"]', form).disabled = false;
  });
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    const username = form.username.value.trim();
    const password = form.password.value;
    if (!username || !password) {
      showStatus(status, t('login.missing'), 'error');
      (username ? form.password : form.username).focus();
      return;
    }
    let waitSeconds = 0;
    await busy(form, status, async () => {
      try {
        const answer = await login(username, password);
        if (answer.passwordChangeRequired) onPasswordChange(password);
        else await continueAfterLogin();
      } catch (error) {
        if (!(error instanceof ApiError) || error.status !== 401) throw error;
        waitSeconds = error.retryAfter;
        form.password.value = '';
        form.password.focus();
        showStatus(status, t('login.failed'), 'error');
      }
    });
    if (waitSeconds > 0) showWait(status, $('button[type="submit"]', form), waitSeconds);
  });
}

async function main() {
  // Handlers first: a form submitted before its handler exists would go to the server natively.
  const loginForm = $('#login-form');
  const changeForm = $('#forced-change');
  let typedPassword = '';
  const askForChange = (password) => {
    typedPassword = password;
    loginForm.hidden = true;
    changeForm.hidden = false;
    $('#forced-new').focus();
  };
  bindLogin(loginForm, askForChange);
  bindPasswordChange(changeForm, {
    currentPassword: () => typedPassword,
    onDone: async () => {
      typedPassword = '';
      await continueAfterLogin();
    },
  });

  const languages = await initI18n();
  addRevealButton($('#password'));
  $('#app-header').replaceChildren(
    el('a', { class: 'brand', href: '/login.html', 'data-i18n': 'app.title' }),
    el('div', { class: 'tools' }, languageSwitch(languages)),
  );
  applyTranslations($('#app-header'));
  const setTitle = () => (document.title = `${t('login.title')} – ${t('app.title')}`);
  setTitle();
  document.addEventListener('languagechange', setTitle);
  await showBanner();

  // Someone who logged in but left before changing the password comes back to the change form
  // only through the password page, which asks for the current password too.
  try {
    const session = await getSession();
    if (session.loggedIn && session.passwordChangeRequired) {
      location.assign('/password.html');
      return;
    }
  } catch (error) {
    showError($('.status', loginForm), error);
  }
  if (!$('#username').value) $('#username').focus();
  document.body.dataset.ready = 'true';
}

runPage(main);
