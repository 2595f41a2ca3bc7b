// The login page: the login text, the login form with its waits, the code step of a user with a
// second factor, and the change of an initial or expired password before anything else.
import { ApiError, getLoginBanner, getSession, login, loginSecondFactor } from './api.js';
import { decodeLines, isBlankText } from './entities.js';
import { initI18n, t, applyTranslations } from './i18n.js';
import { bindPasswordChange } from './password-change.js';
import { safeNext } from './redirect.js';
import { codeOf, recoveryCodeOf } from './second-factor.js';
import { landingPage, languageSwitch, runPage } from './shell.js';
import { addRevealButton } from './reveal.js';
import { $, busy, el, showError, showStatus } from './ui.js';

function nextTarget() {
  return safeNext(new URLSearchParams(location.search).get('next'), location.origin);
}

// After a complete login: a session that must still set up its second factor goes to the own
// password page first (nothing else is open to it), keeping where the user wanted to go.
async function continueAfterLogin() {
  const next = nextTarget();
  const session = await getSession();
  if (session.secondFactorEnrolmentRequired) {
    location.assign(`/password.html${next ? `?next=${encodeURIComponent(next)}` : ''}`);
    return;
  }
  location.assign(next || (await landingPage()));
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

// One wait at a time, shown in the form where it was refused; its button stays disabled meanwhile.
const wait = { timer: null, button: null };

function cancelWait() {
  clearInterval(wait.timer);
  if (wait.button) wait.button.disabled = false;
  wait.timer = null;
  wait.button = null;
}

function showWait(status, button, seconds) {
  cancelWait();
  let left = seconds;
  const render = () => {
    showStatus(status, `${t('login.failed')} ${t('login.wait', { seconds: left })}`, 'error');
  };
  wait.button = button;
  button.disabled = true;
  render();
  wait.timer = setInterval(() => {
    left -= 1;
    if (left <= 0) {
      cancelWait();
      showStatus(status, t('login.waitOver'), 'ok');
      return;
    }
    render();
  }, 1000);
}

// A refused login (either step): the fields to clear, then the failure and any wait.
async function tryLogin(form, status, attempt, onRefused) {
  let waitSeconds = 0;
  await busy(form, status, async () => {
    try {
      await attempt();
    } catch (error) {
      if (!(error instanceof ApiError) || error.status !== 401) throw error;
      waitSeconds = error.retryAfter;
      onRefused();
      showStatus(status, t('login.failed'), 'error');
    }
  });
  if (waitSeconds > 0 && !form.hidden) showWait(status, $('button[type="submit"]', form), waitSeconds);
}

function bindLogin(form, onAnswer) {
  const status = $('.status', form);
  // The wait belongs to one user name; another name may try at once.
  form.username.addEventListener('input', () => {
    if (wait.button === $('button[type="submit"]', form)) cancelWait();
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
    await tryLogin(
      form,
      status,
      async () => onAnswer(await login(username, password), password),
      () => {
        form.password.value = '';
        form.password.focus();
      },
    );
  });
}

// The device ends a challenge after this many wrong codes; the page then starts over at the password.
const codesPerChallenge = 5;

// The code step of a user with a second factor: a code from the app or a recovery code answers the
// challenge of the password step. A challenge that ran out (its time, or its wrong codes) leads back
// to the password step with a message saying so.
function bindCodeStep(form, { onAnswer, onEnd }) {
  const status = $('.status', form);
  let challenge = null;
  let password = '';
  let timer = null;
  let failures = 0;
  let useRecovery = false;

  const choose = (recovery) => {
    useRecovery = recovery;
    $('#code-step').hidden = recovery;
    $('#recovery-step').hidden = !recovery;
    $('#use-recovery').hidden = recovery;
    $('#use-code').hidden = !recovery;
    (recovery ? form.recoveryCode : form.code).focus();
  };
  const end = (messageKey) => {
    clearTimeout(timer);
    challenge = null;
    password = '';
    if (wait.button === $('button[type="submit"]', form)) cancelWait();
    form.reset();
    form.hidden = true;
    onEnd(messageKey);
  };

  $('#use-recovery').addEventListener('click', () => choose(true));
  $('#use-code').addEventListener('click', () => choose(false));
  $('#code-back').addEventListener('click', () => end(''));
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (!challenge) return;
    const answer = useRecovery ? { recoveryCode: recoveryCodeOf(form.recoveryCode.value) } : { code: codeOf(form.code.value) };
    if (!answer.code && !answer.recoveryCode) {
      showStatus(status, t(useRecovery ? 'login.recoveryMissing' : 'login.codeMissing'), 'error');
      (useRecovery ? form.recoveryCode : form.code).focus();
      return;
    }
    await tryLogin(
      form,
      status,
      async () => {
        const done = await loginSecondFactor(challenge, answer);
        const typed = password;
        end(null);
        await onAnswer(done, typed);
      },
      () => {
        failures += 1;
        if (failures >= codesPerChallenge) {
          end('login.tooManyCodes');
          return;
        }
        form.code.value = '';
        form.recoveryCode.value = '';
        (useRecovery ? form.recoveryCode : form.code).focus();
      },
    );
  });

  return {
    start(loginAnswer, typedPassword) {
      challenge = loginAnswer.challenge;
      password = typedPassword;
      failures = 0;
      form.reset();
      showStatus(status, '', 'ok');
      form.hidden = false;
      choose(false);
      clearTimeout(timer);
      const seconds = Number(loginAnswer.expiresInSeconds) > 0 ? Number(loginAnswer.expiresInSeconds) : 300;
      timer = setTimeout(() => end('login.codeExpired'), seconds * 1000);
    },
  };
}

async function main() {
  // Handlers first: a form submitted before its handler exists would go to the server natively.
  const loginForm = $('#login-form');
  const codeForm = $('#code-form');
  const changeForm = $('#forced-change');
  let typedPassword = '';
  const askForChange = (password) => {
    typedPassword = password;
    loginForm.hidden = true;
    changeForm.hidden = false;
    $('#forced-new').focus();
  };
  const codeStep = bindCodeStep(codeForm, {
    onAnswer: (answer, password) => afterLogin(answer, password),
    // Back at the password step: a challenge that ran out says why.
    onEnd: (messageKey) => {
      if (messageKey === null) return;
      loginForm.hidden = false;
      loginForm.password.value = '';
      loginForm.password.focus();
      const status = $('.status', loginForm);
      if (messageKey) showStatus(status, t(messageKey), 'error');
      else showStatus(status, '', 'ok');
    },
  });
  const afterLogin = async (answer, password) => {
    if (answer.secondFactorRequired) {
      loginForm.hidden = true;
      codeStep.start(answer, password);
    } else if (answer.passwordChangeRequired) {
      askForChange(password);
    } else {
      await continueAfterLogin();
    }
  };
  bindLogin(loginForm, afterLogin);
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
  // only through the password page, which asks for the current password too; the same page holds
  // the set-up of a second factor that the policy requires.
  try {
    const session = await getSession();
    if (session.loggedIn && (session.passwordChangeRequired || session.secondFactorEnrolmentRequired)) {
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
