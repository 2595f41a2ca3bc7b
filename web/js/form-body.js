// Bodies of the form-text request functions. The module searches the raw text with patterns like
// "username=(.+)&password=(.+)" and never URL-decodes it, so values go out as typed; a value with
// "&" would cut the text at the wrong place and is refused here, naming the field.

export class FormValueError extends Error {
  constructor(field, reason) {
    super(`${field}: ${reason}`);
    this.field = field;
    this.reason = reason; // 'ampersand' | 'empty'
  }
}

export function formBody(pairs) {
  return pairs
    .map(([key, value]) => {
      if (value === '') throw new FormValueError(key, 'empty');
      if (value.includes('&')) throw new FormValueError(key, 'ampersand');
      return `${key}=${value}`;
    })
    .join('&');
}

// Query parameters, unlike form bodies, are decoded by the host.
export function queryString(pairs) {
  return pairs.map(([key, value]) => `${encodeURIComponent(key)}=${encodeURIComponent(value)}`).join('&');
}

export function utf8Length(text) {
  return new TextEncoder().encode(text).length;
}

// The module's fixed buffers hold at most 63 bytes of a user name and 127 bytes of a password.
export const maxUserNameBytes = 63;
export const maxPasswordBytes = 127;
