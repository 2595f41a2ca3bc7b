// The host's HTTP API: sessions and module request functions. Every failure becomes an ApiError
// so the pages can show it where the user acted (see errors.js for the words).

let csrfToken = null;
// Set by the page: asked when a request finds the session ended; resolves true once the user has
// logged in again, and the request is then sent once more.
let sessionEndedHandler = null;
// Set by the page: told of every answer of the host, which keeps the session alive.
let activityListener = null;
// Set by the page: told when the host refuses a request because the session must first set up a
// second factor (a policy switched on holds live sessions at once).
let enrolmentListener = null;

export class ApiError extends Error {
  // kind: 'network' | 'http' | 'module'
  constructor(kind, { status = 0, errorText = '', passwordChangeRequired = false, secondFactorEnrolmentRequired = false, retryAfter = 0 } = {}) {
    super(errorText || `${kind} ${status}`);
    this.kind = kind;
    this.status = status;
    this.errorText = errorText;
    this.passwordChangeRequired = passwordChangeRequired;
    this.secondFactorEnrolmentRequired = secondFactorEnrolmentRequired;
    this.retryAfter = retryAfter; // seconds to wait, from Retry-After (login refusals)
  }
}

export function setCsrfToken(token) {
  csrfToken = token || null;
}

export function onSessionEnded(handler) {
  sessionEndedHandler = handler;
}

export function onActivity(listener) {
  activityListener = listener;
}

export function onEnrolmentRequired(listener) {
  enrolmentListener = listener;
}

async function send(url, options = {}) {
  const { method = 'GET', body, contentType, retried = false } = options;
  const headers = {};
  if (method !== 'GET' && csrfToken) headers['X-CSRF-Token'] = csrfToken;
  if (body !== undefined && contentType) headers['Content-Type'] = contentType;
  let response;
  try {
    response = await fetch(url, { method, headers, body, credentials: 'same-origin', cache: 'no-store' });
  } catch {
    throw new ApiError('network');
  }
  if (activityListener) activityListener();
  // A refused login (either step) is an answer, not a session that ended.
  const isLogin = url === '/api/login' || url === '/api/login/second-factor';
  if (response.status === 401 && !isLogin && !retried && sessionEndedHandler && (await sessionEndedHandler())) {
    return send(url, { ...options, retried: true });
  }
  const isJson = (response.headers.get('Content-Type') || '').includes('application/json');
  const raw = await response.text();
  let data = raw;
  if (isJson) {
    try {
      data = JSON.parse(raw);
    } catch {
      data = null;
    }
  }
  if (!response.ok) {
    const errorText = data && typeof data === 'object' ? data.errorText || '' : '';
    if (response.status === 403 && data && data.secondFactorEnrolmentRequired && enrolmentListener) enrolmentListener();
    throw new ApiError('http', {
      status: response.status,
      errorText,
      passwordChangeRequired: Boolean(data && data.passwordChangeRequired),
      secondFactorEnrolmentRequired: Boolean(data && data.secondFactorEnrolmentRequired),
      retryAfter: Number.parseInt(response.headers.get('Retry-After') || '0', 10) || 0,
    });
  }
  return { data, response };
}

export async function getSession() {
  const { data } = await send('/api/session');
  setCsrfToken(data.csrfToken);
  return data;
}

// Resolves with the login answer; a refusal rejects with ApiError (status 401 and, during a wait,
// retryAfter seconds). For a user with a second factor the answer is
// {secondFactorRequired, challenge, expiresInSeconds} and no session yet: loginSecondFactor completes it.
export async function login(username, password) {
  // A live older session's token (read by getSession) goes along: the host wants it on every POST.
  const { data } = await send('/api/login', {
    method: 'POST',
    body: JSON.stringify({ username, password }),
    contentType: 'application/json',
  });
  setCsrfToken(data.csrfToken);
  return data;
}

// The code step of a login: answer = {code} or {recoveryCode}. Resolves with the login answer;
// refusals as for login().
export async function loginSecondFactor(challenge, answer) {
  const { data } = await send('/api/login/second-factor', {
    method: 'POST',
    body: JSON.stringify({ challenge, ...answer }),
    contentType: 'application/json',
  });
  setCsrfToken(data.csrfToken);
  return data;
}

export async function logout() {
  await send('/api/logout', { method: 'POST' });
  setCsrfToken(null);
}

export async function getLoginBanner() {
  const { data } = await send('/api/login-banner');
  return Array.isArray(data.lines) ? data.lines : [];
}

// Calls a module request function and unwraps its envelope: resolves with "result" (or the text of
// a text answer), rejects with ApiError when the envelope reports an error.
export async function call(provider, fn, { method = 'GET', body, query, contentType, json } = {}) {
  let url = `/api/${provider}/${fn}`;
  if (query) url += `?${query}`;
  if (json !== undefined) {
    body = JSON.stringify(json);
    contentType = 'application/json';
  } else if (body !== undefined && !contentType) {
    contentType = 'text/plain;charset=UTF-8';
  }
  const { data } = await send(url, { method: body !== undefined ? 'POST' : method, body, contentType });
  if (data && typeof data === 'object' && 'error' in data) {
    if (data.error) throw new ApiError('module', { errorText: data.errorText || '' });
    return data.result;
  }
  return data;
}

// The audit trail, one page: `query` is the URLSearchParams of its filters and paging.
export async function readAudit(query) {
  const { data } = await send(`/api/audit?${query}`);
  return data;
}

// The live sessions the caller may see: all for administrators, else the own ones.
export async function listSessions() {
  const { data } = await send('/api/sessions');
  return Array.isArray(data.sessions) ? data.sessions : [];
}

export async function endSession(handle) {
  await send(`/api/sessions/${encodeURIComponent(handle)}/end`, { method: 'POST' });
}

// A route of the host's own with a JSON answer: GET without `json`, POST with it (the session's
// CSRF token goes along).
async function hostJson(url, json) {
  const options = json === undefined ? {} : { method: 'POST', body: JSON.stringify(json), contentType: 'application/json' };
  const { data } = await send(url, options);
  return data;
}

// A POST without a body (Content-Length: 0, as the host wants it announced).
async function postEmpty(url) {
  const { data } = await send(url, { method: 'POST', body: '' });
  return data;
}

// The own second factor: {enrolled, required, policy, recoveryCodesLeft}.
export function getSecondFactor() {
  return hostJson('/api/second-factor');
}

// A new secret for the own second factor, kept by the device until a code confirms it:
// {secret, otpauthUri, qrCodeSvg}.
export function startEnrolment() {
  return postEmpty('/api/second-factor/enrolment');
}

// Takes the pending secret into use; resolves with the ten recovery codes (shown once).
export async function confirmEnrolment(code) {
  const data = await hostJson('/api/second-factor/enrolment/confirm', { code });
  return Array.isArray(data.recoveryCodes) ? data.recoveryCodes : [];
}

export function removeSecondFactor(password, code) {
  return hostJson('/api/second-factor/remove', { password, code });
}

// Administrators: the policy ("off", "administrators", "everyone"), who has a second factor, and a reset.
export async function getSecondFactorPolicy() {
  return (await hostJson('/api/second-factor/policy')).policy;
}

export function setSecondFactorPolicy(policy) {
  return hostJson('/api/second-factor/policy', { policy });
}

export async function listSecondFactorUsers() {
  const data = await hostJson('/api/second-factor/users');
  return Array.isArray(data.users) ? data.users : [];
}

export function resetSecondFactor(userName) {
  return postEmpty(`/api/second-factor/users/${encodeURIComponent(userName)}/reset`);
}
