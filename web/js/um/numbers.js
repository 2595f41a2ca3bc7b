// Reading the unsigned 32-bit counts of the policy forms; a bad value names its field.
import { InputError } from '../errors.js';
import { t } from '../i18n.js';

export const maxUnsigned = 4294967295;

export function readUnsigned(input, labelText) {
  const text = input.value.trim();
  if (!/^\d+$/.test(text) || Number(text) > maxUnsigned) {
    input.focus();
    throw new InputError(t('errors.form.unsigned', { field: labelText, max: maxUnsigned }));
  }
  return Number(text);
}
