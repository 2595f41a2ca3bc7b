// The login text arrives entity-encoded, one line per array entry. Decoding happens in one pass so
// that an encoded entity ("&amp;lt;") stays literal text ("&lt;"); the result is inserted as text only.

const named = { lt: '<', gt: '>', amp: '&', quot: '"', apos: "'" };

export function decodeEntities(text) {
  return text.replace(/&(?:(lt|gt|amp|quot|apos)|#(\d{1,7})|#[xX]([0-9a-fA-F]{1,6}));/g, (whole, name, dec, hex) => {
    if (name) return named[name];
    const code = dec !== undefined ? Number.parseInt(dec, 10) : Number.parseInt(hex, 16);
    return code > 0 && code <= 0x10ffff ? String.fromCodePoint(code) : whole;
  });
}

export function decodeLines(lines) {
  return lines.map((line) => decodeEntities(String(line)));
}

// Lines that hold only blanks count as no login text at all.
export function isBlankText(lines) {
  return lines.every((line) => line.trim() === '');
}
