// The security log: the audit records page by page with filters and CSV export, the storage
// warnings, and all live sessions. Only administrators may read it; others see the refusal.
import { readAudit } from './api.js';
import { auditEvents, filterQuery } from './audit-events.js';
import { t } from './i18n.js';
import { bindSessionList, formatTime } from './session-list.js';
import { initPage, runPage } from './shell.js';
import { $, busy, clearStatus, el, showError } from './ui.js';

const pageSize = 50;

// What is shown: the filters in effect, the paging parameter of the shown page and its answer.
const view = { filters: new URLSearchParams(), paging: null, records: [], nextCursor: null };

function recordRow(record) {
  const cell = (key, text, extra = {}) => el('td', { 'data-label': t(key), text, ...extra });
  return el(
    'tr',
    { class: record.outcome === 'failure' ? 'failure' : '' },
    el('th', { scope: 'row', text: String(record.sequence) }),
    cell('securityLog.time', formatTime(record.time), { title: record.time }),
    cell('securityLog.event', record.eventId),
    cell('securityLog.outcome', t(`securityLog.outcomes.${record.outcome}`)),
    cell('securityLog.user', record.user),
    cell('securityLog.source', record.source),
    cell('securityLog.target', record.target),
    cell('securityLog.detail', record.detail, { class: 'detail' }),
  );
}

function showStorage(storage) {
  const warning = $('#storage-warning');
  const texts = [];
  if (storage && storage.lastWriteFailed) texts.push(t('securityLog.writeFailed'));
  if (storage && storage.warning) texts.push(t('securityLog.storageWarning', { count: storage.recordCount, capacity: storage.capacity }));
  warning.textContent = texts.join(' ');
  warning.hidden = texts.length === 0;
}

// The paging buttons: records newer than the page exist when it was reached going older, or when
// reading on (after) found more; older ones when the host gave a cursor going older, or always
// when the page was reached going newer.
function render() {
  const { records, paging, nextCursor } = view;
  $('#audit-table tbody').replaceChildren(...records.map(recordRow));
  $('#no-records').hidden = records.length > 0;
  const goingNewer = paging && paging.has('after');
  $('#older').disabled = records.length === 0 || (!goingNewer && nextCursor === null);
  $('#newer').disabled = records.length === 0 || !paging || (goingNewer && nextCursor === null);
  showStorage(view.storage);
}

async function load(paging) {
  const query = new URLSearchParams(view.filters);
  if (paging) for (const [name, value] of paging) query.set(name, value);
  query.set('limit', String(pageSize));
  const data = await readAudit(query);
  let records = Array.isArray(data.records) ? data.records : [];
  // Reading on after a record comes oldest first; the table always shows the newest on top.
  if (paging && paging.has('after')) records = records.reverse();
  if (paging && records.length === 0) return load(null); // nothing newer left: the first page
  Object.assign(view, { paging, records, nextCursor: data.nextCursor ?? null, storage: data.storage });
  render();
}

function updateCsvLink() {
  const query = new URLSearchParams(view.filters);
  query.set('format', 'csv');
  $('#csv-link').href = `/api/audit?${query}`;
}

function fillEvents() {
  const select = $('#filter-event');
  const chosen = select.value;
  select.replaceChildren(
    el('option', { value: '', text: t('securityLog.anyEvent') }),
    ...auditEvents.map((id) => el('option', { value: id, text: id })),
  );
  select.value = chosen;
}

function bindFilters() {
  const form = $('#audit-filters');
  const status = $('#filter-status');
  const apply = () =>
    busy(form, status, async () => {
      const values = Object.fromEntries(new FormData(form));
      view.filters = filterQuery({ ...values, user: values.user.trim() });
      updateCsvLink();
      await load(null);
    });
  form.addEventListener('submit', (event) => {
    event.preventDefault();
    apply();
  });
  form.addEventListener('reset', () => setTimeout(apply)); // after the fields are cleared
  const page = (button, paging) =>
    button.addEventListener('click', () => {
      clearStatus(status);
      load(paging()).catch((error) => showError(status, error));
    });
  page($('#older'), () => new URLSearchParams({ before: String(view.records.at(-1).sequence) }));
  page($('#newer'), () => new URLSearchParams({ after: String(view.records[0].sequence) }));
}

async function main() {
  const session = await initPage();
  if (!session) return;
  fillEvents();
  try {
    await load(null);
  } catch (error) {
    // Not an administrator (or the host refused otherwise): say so, and offer nothing else.
    showError($('#refusal'), error);
    document.body.dataset.ready = 'true';
    return;
  }
  $('#admin-area').hidden = false;
  bindFilters();
  updateCsvLink();
  document.addEventListener('languagechange', () => {
    fillEvents();
    render();
  });
  await bindSessionList($('#live-sessions'));
  document.body.dataset.ready = 'true';
}

runPage(main);
