// The three policy forms (password rules, blocked passwords, sessions). When the device refuses a
// change of any of them, it puts every policy area changed since its start back to its state at
// that start; so after any failed save all three are read again, a form whose device values moved
// shows them, and the page says which areas were put back.
import { InputError } from '../errors.js';
import { t } from '../i18n.js';
import { $, busy, el, showError, showStatus } from '../ui.js';
import { isReady, loadInto, markSaved, setLoadState, trackChanges } from './section.js';

const sections = [];

function remember(section, data) {
  section.device = JSON.stringify(data);
  section.show(data);
  markSaved(section.form);
}

async function load(section) {
  await loadInto(
    section.form,
    async () => remember(section, await section.read()),
    (error) => showError($('.status', section.form), error),
  );
}

// Reads every policy area again; answers the sections whose device values were put back.
async function rereadAfterRefusal() {
  const putBack = [];
  await Promise.all(
    sections.map(async (section) => {
      let data;
      try {
        data = await section.read();
      } catch {
        return; // the form keeps what it shows; its own load error stays with the first failure
      }
      const before = section.device;
      if (JSON.stringify(data) === before) return;
      remember(section, data);
      setLoadState(section.form, 'ready');
      if (before !== null) putBack.push(section);
    }),
  );
  return putBack;
}

function sectionNames(list) {
  return list.map((section) => t(section.titleKey)).join(', ');
}

async function save(section) {
  const status = $('.status', section.form);
  await busy(section.form, status, async () => {
    if (!isReady(section.form)) return;
    const payload = section.collect();
    try {
      await section.save(payload);
    } catch (error) {
      if (error instanceof InputError) throw error;
      const putBack = await rereadAfterRefusal();
      showError(status, error);
      const summary = putBack.length
        ? t('um.policies.putBack', { sections: sectionNames(putBack) })
        : t('um.policies.nothingPutBack');
      status.append(el('span', { class: 'put-back', text: `\n${summary}` }));
      for (const other of putBack.filter((s) => s !== section)) {
        showStatus($('.status', other.form), t('um.policies.putBackHere', { section: t(section.titleKey) }), 'warn');
      }
      return;
    }
    remember(section, await section.read());
    showStatus(status, section.savedText(payload));
  });
}

// section: { form, titleKey, read(), show(data), collect() → payload (throws InputError),
// save(payload), savedText(payload) }
export function addPolicySection(section) {
  section.device = null;
  sections.push(section);
  trackChanges(section.form);
  section.form.addEventListener('submit', (event) => {
    event.preventDefault();
    save(section);
  });
  return load(section);
}
