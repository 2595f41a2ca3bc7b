// The event ids the audit trail records, in the order the filter offers them.
export const auditEvents = [
  'session.login.success',
  'session.login.failure',
  'session.logout',
  'session.ended',
  'user.added',
  'user.removed',
  'user.password.set',
  'user.password.changed',
  'user.config.changed',
  'auth.required.changed',
  'policy.rulesets.changed',
  'policy.blocklist.changed',
  'policy.session.changed',
  'ldap.config.uploaded',
  'ldap.enabled.changed',
  'logintext.changed',
  'system.restart',
  'request.invalid',
  'host.started',
  'host.stopped',
  'audit.storage.warning',
  'audit.forwarding.resumed',
];

// The query of the filters of a form holding from, to, event, user and outcome: the local times of
// the form as UTC; "to" takes in its whole second.
export function filterQuery(values) {
  const query = new URLSearchParams();
  const utc = (local, extraMs) => {
    const date = new Date(local);
    return Number.isNaN(date.getTime()) ? null : new Date(date.getTime() + extraMs).toISOString();
  };
  if (values.from) query.set('from', utc(values.from, 0) ?? values.from);
  if (values.to) query.set('to', utc(values.to, 999) ?? values.to);
  for (const name of ['event', 'user', 'outcome']) {
    if (values[name]) query.set(name, values[name]);
  }
  return query;
}
