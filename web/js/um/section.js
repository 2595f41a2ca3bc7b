// The life of one user-manager form around its data: Save stays disabled (with a loading line)
// until the device's data have arrived, and after a failed load, so that an empty form is never
// stored over the device's data. Edits mark the form as changed until its data are shown afresh.
import { t } from '../i18n.js';
import { $, el } from '../ui.js';

function saveButtons(form) {
  return [...form.querySelectorAll('button[type="submit"]')];
}

// state: 'loading' | 'ready' | 'failed'
export function setLoadState(form, state) {
  form.dataset.state = state;
  form.setAttribute('aria-busy', String(state === 'loading'));
  let line = $('.loading', form);
  if (!line) {
    line = el('p', { class: 'loading hint', 'data-i18n': 'common.loading', text: t('common.loading') });
    $('.actions', form).before(line);
  }
  line.hidden = state !== 'loading';
  for (const button of saveButtons(form)) button.disabled = state !== 'ready';
}

export function isReady(form) {
  return form.dataset.state === 'ready';
}

// Loads and shows the form's data; on failure the error is shown and the form stays unsaveable.
export async function loadInto(form, load, showFailure) {
  setLoadState(form, 'loading');
  try {
    await load();
    markSaved(form);
    setLoadState(form, 'ready');
  } catch (error) {
    setLoadState(form, 'failed');
    showFailure(error);
  }
}

export function trackChanges(form) {
  const mark = () => (form.dataset.changed = 'true');
  form.addEventListener('input', mark);
  form.addEventListener('change', mark);
}

export function markSaved(form) {
  delete form.dataset.changed;
}

export function hasChanges(root = document) {
  return root.querySelector('form[data-changed="true"]') !== null;
}
