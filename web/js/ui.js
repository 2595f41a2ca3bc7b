// Small DOM helpers shared by the pages.
import { ApiError } from './api.js';
import { t } from './i18n.js';
import { describeError, sentencesOf } from './errors.js';

export function $(selector, root = document) {
  return root.querySelector(selector);
}

export function el(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === false || value === undefined || value === null) continue;
    if (name === 'text') element.textContent = value;
    else if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else element.setAttribute(name, value === true ? '' : value);
  }
  for (const child of children) element.append(child);
  return element;
}

// A status line next to the control the user acted on: role=status for success, role=alert for
// errors so screen readers announce them.
export function showStatus(target, text, kind = 'ok') {
  target.textContent = text;
  target.className = `status ${kind}`;
  target.setAttribute('role', kind === 'error' ? 'alert' : 'status');
  target.hidden = !text;
}

export function showError(target, error) {
  const text = describeError(error);
  const isApiError = error instanceof ApiError;
  const sentences = isApiError && error.kind === 'module' ? sentencesOf(text) : [text];
  showStatus(target, text, 'error');
  if (sentences.length > 1) {
    target.replaceChildren(el('ul', {}, ...sentences.map((sentence) => el('li', { text: sentence }))));
  }
  if (isApiError && error.status === 401) {
    const next = encodeURIComponent(location.pathname + location.search);
    target.append(' ', el('a', { href: `/login.html?next=${next}`, text: t('errors.logInAgain') }));
  }
}

export function clearStatus(target) {
  showStatus(target, '', 'ok');
}

// Clears the status lines around a new action (its tab panel, or its form), so no old outcome
// stands next to the new one.
export function clearStatusesAround(element) {
  const area = element.closest('[role="tabpanel"]') || element;
  for (const line of area.querySelectorAll('.status')) clearStatus(line);
}

// Runs an action for a form: disables its buttons meanwhile and reports failure next to it. A form
// whose data did not arrive keeps its Save disabled afterwards.
export async function busy(form, status, action) {
  const buttons = [...form.querySelectorAll('button')];
  buttons.forEach((button) => (button.disabled = true));
  clearStatusesAround(form);
  clearStatus(status);
  try {
    await action();
  } catch (error) {
    showError(status, error);
  } finally {
    const unsaveable = form.dataset.state === 'loading' || form.dataset.state === 'failed';
    buttons.forEach((button) => (button.disabled = unsaveable && button.type === 'submit'));
  }
}

// A modal question with translated buttons; resolves true when confirmed. <dialog> keeps focus
// inside and closes with Escape.
export function confirmDialog(message, confirmLabel = t('common.confirm')) {
  return new Promise((resolve) => {
    const dialog = el(
      'dialog',
      { class: 'confirm', 'aria-labelledby': 'confirm-message' },
      el('p', { id: 'confirm-message', text: message }),
      el(
        'form',
        { method: 'dialog', class: 'actions' },
        el('button', { value: 'cancel', class: 'secondary', text: t('common.cancel') }),
        el('button', { value: 'ok', class: 'danger', text: confirmLabel }),
      ),
    );
    dialog.addEventListener('close', () => {
      resolve(dialog.returnValue === 'ok');
      dialog.remove();
    });
    document.body.append(dialog);
    dialog.showModal();
    dialog.querySelector('button[value="cancel"]').focus();
  });
}

export function formatDuration(seconds) {
  const days = Math.floor(seconds / 86400);
  const hours = Math.floor((seconds % 86400) / 3600);
  if (days > 0) return t('time.daysHours', { days, hours });
  const minutes = Math.floor((seconds % 3600) / 60);
  if (hours > 0) return t('time.hoursMinutes', { hours, minutes });
  return t('time.minutes', { minutes: Math.max(minutes, seconds > 0 ? 1 : 0) });
}

// A modal form: fields built by the caller; onSubmit runs with the form and throws to keep the
// dialog open with the error shown inside it.
export function formDialog({ title, fields, submitLabel, onSubmit }) {
  const status = el('p', { class: 'status', hidden: true });
  const titleId = `dialog-title-${Math.random().toString(36).slice(2)}`;
  const form = el(
    'form',
    { novalidate: true },
    el('h2', { id: titleId, text: title }),
    ...fields,
    el(
      'div',
      { class: 'actions' },
      el('button', { type: 'button', class: 'secondary', value: 'cancel', text: t('common.cancel') }),
      el('button', { type: 'submit', text: submitLabel }),
    ),
    status,
  );
  const dialog = el('dialog', { 'aria-labelledby': titleId }, form);
  form.querySelector('button[value="cancel"]').addEventListener('click', () => dialog.close());
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    busy(form, status, async () => {
      await onSubmit(form);
      dialog.close();
    });
  });
  dialog.addEventListener('close', () => dialog.remove());
  document.body.append(dialog);
  dialog.showModal();
  const first = form.querySelector('input, select, textarea');
  if (first) first.focus();
  return dialog;
}

// A labelled input, the label tied to it by id.
export function field(id, labelText, attributes = {}) {
  return el('div', { class: 'field' }, el('label', { for: id, text: labelText }), el('input', { id, ...attributes }));
}

export function checkbox(id, labelText, checked, attributes = {}) {
  return el(
    'div',
    { class: 'check' },
    el('input', { id, type: 'checkbox', checked: Boolean(checked), ...attributes }),
    el('label', { for: id, text: labelText }),
  );
}
