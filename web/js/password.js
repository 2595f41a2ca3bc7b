// The own password page: state, expiry and the change form, the own second factor, the own sessions.
import { call, getSession } from './api.js';
import { t } from './i18n.js';
import { initOwnSecondFactor } from './own-second-factor.js';
import { bindPasswordChange, ownRules } from './password-change.js';
import { expiryText, stateText } from './password-state.js';
import { safeNext } from './redirect.js';
import { bindSessionList } from './session-list.js';
import { initPage, runPage, landingPage } from './shell.js';
import { $, el, showError } from './ui.js';

let info = null;

function renderState() {
  const list = $('#password-state');
  if (!info) return;
  const facts = [
    ['fields.username', info.userName],
    ['password.stateLabel', stateText(info)],
    ['password.expiresIn', expiryText(info)],
    ['password.initialLabel', info.isUsingInitialPassword ? t('common.yes') : t('common.no')],
  ];
  list.replaceChildren(...facts.flatMap(([key, value]) => [el('dt', { text: t(key) }), el('dd', { text: value })]));
}

async function loadState() {
  try {
    info = await call('UserManagementInfoDp', 'GetPasswordInfo');
    renderState();
  } catch (error) {
    showError($('#state-status'), error);
  }
}

// Where "Continue" leads once nothing is pending: where the user wanted to go at login, else the landing page.
async function continueTarget() {
  return safeNext(new URLSearchParams(location.search).get('next'), location.origin) || (await landingPage());
}

// A second factor that the policy requires and the session does not have yet: its set-up is all the
// page offers (the device refuses everything else meanwhile), and Continue follows it.
async function enrolFirst(session) {
  $('#pending-enrolment').hidden = false;
  $('#state-section').hidden = true;
  $('#change-form').hidden = true;
  await initOwnSecondFactor(session, {
    onEnrolled: async () => {
      $('#pending-enrolment').hidden = true;
      $('#enrol-continue a').href = await continueTarget();
      $('#enrol-continue').hidden = false;
      $('#enrol-continue a').focus();
    },
  });
  document.body.dataset.ready = 'true';
}

async function main() {
  const session = await initPage({ allowPendingChange: true });
  if (!session) return;
  if (!session.loggedIn) {
    // Without a session there is no own password to show or change.
    $('#not-logged-in').hidden = false;
    $('#state-section').hidden = true;
    $('#change-form').hidden = true;
    document.body.dataset.ready = 'true';
    return;
  }
  // A pending password change comes first; the set-up of a required second factor follows it.
  if (session.secondFactorEnrolmentRequired && !session.passwordChangeRequired) {
    await enrolFirst(session);
    return;
  }
  // The own sessions, also of a directory user; not while a password change is pending (the host
  // refuses the list then).
  if (!session.passwordChangeRequired) {
    $('#live-sessions').hidden = false;
    await bindSessionList($('#live-sessions'));
  }
  // Directory users keep their second factor on the device too.
  if (!session.passwordChangeRequired) await initOwnSecondFactor(session, { onEnrolled: () => {} });
  if (session.directoryUser) {
    // The password belongs to the directory account: the device has none to show or change.
    $('#directory-user').hidden = false;
    $('#state-section').hidden = true;
    $('#change-form').hidden = true;
    document.body.dataset.ready = 'true';
    return;
  }
  $('#pending-change').hidden = !session.passwordChangeRequired;
  document.addEventListener('languagechange', renderState);
  await loadState();
  const rules = { policy: null, userName: session.userName };
  bindPasswordChange($('#change-form'), {
    rules,
    onDone: async () => {
      await loadState();
      const now = await getSession();
      if (session.passwordChangeRequired && !now.passwordChangeRequired) {
        // Next the second factor, when the policy requires one: the page shows its set-up.
        if (now.secondFactorEnrolmentRequired) {
          location.reload();
          return;
        }
        $('#pending-change').hidden = true;
        const link = $('#continue a');
        link.href = await continueTarget();
        $('#continue').hidden = false;
      }
    },
  });
  if (!session.passwordChangeRequired) {
    rules.policy = await ownRules(session.userName);
    rules.update();
  }
  document.body.dataset.ready = 'true';
}

runPage(main);
