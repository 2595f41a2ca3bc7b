// Words for a user's password information (as GetPasswordInfo and the user list give it).
import { t, has } from './i18n.js';
import { formatDuration } from './ui.js';

export function stateText(info) {
  if (!info || !info.passwordState) return t('password.state.unknown');
  const key = `password.state.${info.passwordState}`;
  return has(key) ? t(key) : info.passwordState;
}

// timeToExpire counts seconds; 0 while the password is valid means it never expires.
export function expiryText(info) {
  if (!info || info.passwordState === undefined) return '–';
  if (info.passwordState === 'Expired' || info.passwordState === 'Locked') return t('password.expired');
  if (!info.timeToExpire) return t('password.neverExpires');
  return formatDuration(info.timeToExpire);
}
