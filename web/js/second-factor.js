// What the second-factor forms read and show, without the page: the secret for typing, and the
// codes as people type them (with spaces or a dash the app or the printout puts in).

// "JBSWY3DPEHPK3PXP..." → "JBSW Y3DP EHPK 3PXP ...": groups of four are easier to type correctly.
export function groupSecret(secret) {
  return (String(secret).replace(/\s+/g, '').match(/.{1,4}/g) || []).join(' ');
}

// The six digits of a code from the app, or '' when the text is no such code. Apps show
// "123 456"; spaces are dropped.
export function codeOf(text) {
  const digits = String(text).replace(/\s+/g, '');
  return /^\d{6}$/.test(digits) ? digits : '';
}

// A recovery code as printed ("abcde-fghij"): spaces dropped, letters as given to the device.
export function recoveryCodeOf(text) {
  return String(text).replace(/\s+/g, '');
}

// The recovery codes as a text file to keep: one a line, with a heading naming the account.
export function recoveryCodesFile(codes, heading) {
  return `${heading}\r\n\r\n${codes.join('\r\n')}\r\n`;
}
