// Turns any failure into words for the user, in the chosen language.
import { ApiError } from './api.js';
import { FormValueError } from './form-body.js';
import { t, has } from './i18n.js';
import { translateSentence } from './refusal-texts.js';

// The module answers with fixed texts and with names of configuration errors
// ("WarningDaysNotBelowExpirationDays"); known ones get a sentence, the rest is shown as sent
// (password refusals carry the service's own explanation of every broken rule).
export function moduleErrorText(errorText) {
  if (!errorText) return t('errors.unknown');
  const key = `errors.module.${errorText.replace(/[^A-Za-z0-9]/g, '')}`;
  if (has(key)) return t(key);
  // "... with error code LdapConfigurationMissing": the code says it best.
  const code = /error code (\w+)\s*$/.exec(errorText);
  if (code && has(`errors.module.${code[1]}`)) return t(`errors.module.${code[1]}`);
  return sentencesOf(errorText).map(translateSentence).join(' ');
}

// A problem with what the user typed, found before anything was sent; its message is already words.
export class InputError extends Error {}

// A refusal that names several broken rules reads best as a list: one sentence a line.
export function sentencesOf(text) {
  return text
    .split(/(?<=[.!?])\s+(?=\S)/)
    .map((sentence) => sentence.trim())
    .filter(Boolean);
}

// The host's own refusals around the second factor, by their fixed texts.
const hostTexts = {
  'Wrong password or code': 'errors.secondFactor.wrongPasswordOrCode',
  'The code is not valid': 'errors.secondFactor.codeNotValid',
  'A second factor is already set up': 'errors.secondFactor.alreadySetUp',
  'The policy requires a second factor': 'errors.secondFactor.requiredByPolicy',
};

export function describeError(error) {
  if (error instanceof InputError) return error.message;
  if (error instanceof FormValueError) {
    return t(`errors.form.${error.reason}`, { field: t(`fields.${error.field}`) });
  }
  if (!(error instanceof ApiError)) return t('errors.unexpected', { text: String(error && error.message) });
  if (error.kind === 'network') return t('errors.network');
  if (error.kind === 'module') return moduleErrorText(error.errorText);
  if (Object.hasOwn(hostTexts, error.errorText)) return t(hostTexts[error.errorText]);
  switch (error.status) {
    case 401:
      return t('errors.sessionEnded');
    case 403:
      if (error.passwordChangeRequired) return t('errors.passwordChangeRequired');
      if (error.secondFactorEnrolmentRequired) return t('errors.secondFactorEnrolmentRequired');
      if (/CSRF/i.test(error.errorText)) return t('errors.csrf');
      return t('errors.forbidden');
    case 404:
      return t('errors.notFound');
    case 413:
      return t('errors.tooLarge');
    case 503:
      return t('errors.unavailable');
    case 500:
      return t('errors.server', { text: moduleErrorText(error.errorText) });
    default:
      return error.errorText ? moduleErrorText(error.errorText) : t('errors.status', { status: error.status });
  }
}
