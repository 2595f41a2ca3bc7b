// The user list's view: search, sort and paging over the whole list the device gives, done in
// the page so that thousands of users stay quick to browse.

const adminRole = 'Admin';

const sortValues = {
  userName: (user) => user.userName,
  roles: (user) => user.userRoles.join(', '),
  adminRuleset: (user) => (user.hasAdminRuleset ? 1 : 0),
  state: (user) => (user.passwordInfo && user.passwordInfo.passwordState) || '',
  // A password that never expires (0) sorts after every expiring one.
  expiry: (user) => (user.passwordInfo && user.passwordInfo.timeToExpire) || Number.POSITIVE_INFINITY,
  initial: (user) => (user.passwordInfo && user.passwordInfo.isUsingInitialPassword ? 1 : 0),
  secondFactor: (user) => (user.secondFactor ? 1 : 0),
};

const collator = new Intl.Collator(undefined, { numeric: true, sensitivity: 'base' });

function compare(a, b) {
  return typeof a === 'string' ? collator.compare(a, b) : a - b;
}

// view: { search, sortKey, descending, page (0-based), pageSize } →
// { rows, total (after the search), page (clamped), pages }
export function viewOf(users, { search = '', sortKey = 'userName', descending = false, page = 0, pageSize = 25 }) {
  const needle = search.trim().toLowerCase();
  const found = needle
    ? users.filter((user) => user.userName.toLowerCase().includes(needle) || user.userRoles.some((role) => role.toLowerCase().includes(needle)))
    : users.slice();
  const value = sortValues[sortKey] || sortValues.userName;
  const sign = descending ? -1 : 1;
  // Ties keep name order, so equal values do not shuffle between renders.
  found.sort((a, b) => sign * compare(value(a), value(b)) || collator.compare(a.userName, b.userName));
  const pages = Math.max(1, Math.ceil(found.length / pageSize));
  const current = Math.min(Math.max(page, 0), pages - 1);
  return { rows: found.slice(current * pageSize, (current + 1) * pageSize), total: found.length, page: current, pages };
}

// Remove is not offered for the own account, nor for the only user holding the Admin role.
export function removable(user, users, ownName) {
  if (user.userName === ownName) return false;
  if (!user.userRoles.includes(adminRole)) return true;
  return users.filter((other) => other.userRoles.includes(adminRole)).length > 1;
}

// The device's rule for user names: 1 to 63 bytes of UTF-8, no control characters, no "/" or ":",
// no space at either end, and not the name of the role for visitors without login.
export function userNameProblem(name) {
  const bytes = new TextEncoder().encode(name).length;
  if (bytes === 0) return 'empty';
  if (bytes > 63) return 'tooLong';
  if (/[\u0000-\u001f\u007f/:]/.test(name) || name.startsWith(' ') || name.endsWith(' ') || name === 'Unauthenticated') return 'characters';
  return '';
}
