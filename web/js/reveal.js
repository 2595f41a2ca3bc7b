// A Show/Hide button beside every password field, so a long password can be checked before it
// is sent.
import { t } from './i18n.js';
import { el } from './ui.js';

function label(button, shown) {
  button.textContent = t(shown ? 'common.hide' : 'common.show');
  button.setAttribute('aria-pressed', String(shown));
}

export function addRevealButton(input) {
  if (input.dataset.reveal) return;
  input.dataset.reveal = 'true';
  const button = el('button', { type: 'button', class: 'secondary reveal', 'aria-controls': input.id });
  // Its name stays "Show"/"Hide": it follows its field, and a name holding the field's label
  // would make two controls answer to that label.
  const render = () => label(button, input.type === 'text');
  button.addEventListener('click', () => {
    input.type = input.type === 'password' ? 'text' : 'password';
    render();
  });
  // Sending hides the password again, so it is not left readable on the screen.
  input.form?.addEventListener('submit', () => {
    input.type = 'password';
    render();
  });
  const wrap = el('div', { class: 'reveal-wrap' });
  input.replaceWith(wrap);
  wrap.append(input, button);
  document.addEventListener('languagechange', render);
  render();
}

export function addRevealButtons(root = document) {
  for (const input of root.querySelectorAll('input[type="password"]')) addRevealButton(input);
}
