// Where the login page may send the browser afterwards: a path of this site only. Anything that
// would leave it ("//host", "/\host", "https://host") or loop back to the login page gives ''.
export function safeNext(next, origin) {
  if (!next || !next.startsWith('/') || next.includes('\\')) return '';
  let url;
  try {
    url = new URL(next, origin);
  } catch {
    return '';
  }
  if (url.origin !== origin || url.pathname === '/login.html') return '';
  return url.pathname + url.search + url.hash;
}
