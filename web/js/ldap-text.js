// The LDAP configuration download: the module doubles every backslash of the file and reports a
// failure as a one-line XML element instead of the file.

const errorElement = /^<Error code="([^"]*)" text="(.*)" \/>$/s;

// { error: {code, text} } for the module's error element, else { text } holding the file as stored.
export function parseDownload(body) {
  const match = errorElement.exec(body.trim());
  if (match) return { error: { code: match[1], text: match[2] } };
  return { text: body.replace(/\\\\/g, '\\') };
}
