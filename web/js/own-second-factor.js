// The own second factor on the password page: its state, the set-up with the QR code, the key as
// text and a first code, the recovery codes shown once, and the removal (password and a code).
import { getSecondFactor, confirmEnrolment, removeSecondFactor, startEnrolment } from './api.js';
import { InputError } from './errors.js';
import { t } from './i18n.js';
import { addRevealButton } from './reveal.js';
import { codeOf, groupSecret, recoveryCodesFile } from './second-factor.js';
import { $, busy, clearStatus, el, field, formDialog, showError, showStatus } from './ui.js';

let state = null;
let userName = '';

function renderState() {
  if (!state) return;
  const facts = [['secondFactor.stateLabel', t(state.enrolled ? 'secondFactor.enrolled' : 'secondFactor.notEnrolled')]];
  if (state.enrolled) facts.push(['secondFactor.codesLeft', String(state.recoveryCodesLeft)]);
  facts.push(['secondFactor.requiredLabel', t(state.required ? 'common.yes' : 'common.no')]);
  $('#second-factor-state').replaceChildren(...facts.flatMap(([key, value]) => [el('dt', { text: t(key) }), el('dd', { text: value })]));
  const setting = !$('#enrol-form').hidden;
  $('#enrol-start').hidden = state.enrolled || setting;
  // The device refuses to remove a second factor that the policy requires.
  $('#second-factor-remove').hidden = !state.enrolled || state.required;
  $('#second-factor-kept').hidden = !(state.enrolled && state.required);
}

async function loadState() {
  state = await getSecondFactor();
  renderState();
}

// The QR code is the device's SVG drawing, shown as an image: an image runs no script of its own.
function showEnrolment(enrolment) {
  $('#enrol-qr').src = `data:image/svg+xml;charset=utf-8,${encodeURIComponent(enrolment.qrCodeSvg)}`;
  $('#enrol-secret').textContent = groupSecret(enrolment.secret);
  $('#enrol-form').hidden = false;
  $('#enrol-start').hidden = true;
  $('#enrol-code').focus();
}

function hideEnrolment() {
  const form = $('#enrol-form');
  form.reset();
  form.hidden = true;
  $('#enrol-qr').removeAttribute('src');
  $('#enrol-secret').textContent = '';
  clearStatus($('.status', form));
  renderState();
}

function showRecoveryCodes(codes, onStored) {
  const box = $('#recovery-codes');
  const status = $('.status', box);
  $('#recovery-list').replaceChildren(...codes.map((code) => el('li', {}, el('code', { text: code }))));
  box.hidden = false;
  $('#recovery-heading').focus();
  $('#recovery-copy').onclick = async () => {
    try {
      await navigator.clipboard.writeText(codes.join('\n'));
      showStatus(status, t('secondFactor.copied'));
    } catch {
      showStatus(status, t('secondFactor.copyFailed'), 'error');
    }
  };
  $('#recovery-download').onclick = () => {
    const text = recoveryCodesFile(codes, t('secondFactor.fileHeading', { name: userName, host: location.host }));
    const url = URL.createObjectURL(new Blob([text], { type: 'text/plain' }));
    const link = el('a', { href: url, download: 'recovery-codes.txt', hidden: true });
    document.body.append(link);
    link.click();
    link.remove();
    setTimeout(() => URL.revokeObjectURL(url), 0);
  };
  $('#recovery-done').onclick = () => {
    // The codes leave the page: nobody reads them later off an unattended screen.
    $('#recovery-list').replaceChildren();
    clearStatus(status);
    box.hidden = true;
    onStored();
  };
}

function removeDialog() {
  const dialog = formDialog({
    title: t('secondFactor.removeTitle'),
    fields: [
      el('p', { text: t('secondFactor.removeText') }),
      field('remove-password', t('fields.password'), { type: 'password', name: 'password', autocomplete: 'current-password', required: true }),
      field('remove-code', t('fields.code'), { name: 'code', inputmode: 'numeric', autocomplete: 'one-time-code', maxlength: '7', required: true }),
    ],
    submitLabel: t('secondFactor.remove'),
    onSubmit: async (form) => {
      const code = codeOf(form.code.value);
      if (!form.password.value) throw new InputError(t('secondFactor.passwordMissing'));
      if (!code) throw new InputError(t('login.codeMissing'));
      try {
        await removeSecondFactor(form.password.value, code);
      } finally {
        form.password.value = '';
        form.code.value = '';
      }
      await loadState();
      showStatus($('#second-factor-status'), t('secondFactor.removed'));
    },
  });
  addRevealButton($('#remove-password', dialog));
}

// session: the page's session; onEnrolled runs once a required set-up is done (the recovery codes
// stored), so the page can let the user go on.
export async function initOwnSecondFactor(session, { onEnrolled }) {
  userName = session.userName || '';
  const section = $('#second-factor');
  const sectionStatus = $('#second-factor-status');
  const enrolForm = $('#enrol-form');
  section.hidden = false;
  document.addEventListener('languagechange', renderState);

  $('#enrol-start').addEventListener('click', async () => {
    clearStatus(sectionStatus);
    try {
      showEnrolment(await startEnrolment());
    } catch (error) {
      showError(sectionStatus, error);
    }
  });
  $('#enrol-cancel').addEventListener('click', () => {
    hideEnrolment();
    $('#enrol-start').focus();
  });
  enrolForm.addEventListener('submit', (event) => {
    event.preventDefault();
    const status = $('.status', enrolForm);
    busy(enrolForm, status, async () => {
      const code = codeOf(enrolForm.code.value);
      if (!code) {
        enrolForm.code.focus();
        throw new InputError(t('login.codeMissing'));
      }
      const codes = await confirmEnrolment(code);
      hideEnrolment();
      showRecoveryCodes(codes, () => {
        if (session.secondFactorEnrolmentRequired) onEnrolled();
        else $('#enrol-start').focus();
      });
      showStatus(sectionStatus, t('secondFactor.enrolledNow'));
      await loadState();
    });
  });
  $('#second-factor-remove').addEventListener('click', () => {
    clearStatus(sectionStatus);
    removeDialog();
  });

  try {
    await loadState();
  } catch (error) {
    showError(sectionStatus, error);
  }
  if (session.secondFactorEnrolmentRequired) $('#enrol-start').focus();
}
