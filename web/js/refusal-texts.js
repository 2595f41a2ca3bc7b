// The services answer in English with short fixed sentences (the rules a new password broke, a
// wait after wrong passwords). The page says the sentences it knows in the chosen language and
// shows any other sentence as it came.
import { t } from './i18n.js';

const unitKeys = { hour: 'hour', hours: 'hours', day: 'day', days: 'days', week: 'week', weeks: 'weeks', month: 'month', months: 'months' };

// "day" → the unit in words; "2 days" → "2" and the plural unit.
function intervalText(text) {
  const match = /^(?:(\d+) )?(hours?|days?|weeks?|months?)$/.exec(text);
  if (!match) return text;
  const unit = t(`refusals.units.${unitKeys[match[2]]}`);
  return match[1] ? `${match[1]} ${unit}` : unit;
}

// [pattern, key, names of the captured values]; long forms first, then the short forms the
// service uses when the long ones do not fit.
const sentences = [
  [/^Too short: min (\d+) chars\.$/, 'tooShort', ['count']],
  [/^Min (\d+) chars\.$/, 'tooShort', ['count']],
  [/^Needs (\d+) letters?\.$/, 'letters', ['count']],
  [/^(\d+)\+ letters\.$/, 'letters', ['count']],
  [/^Needs (\d+) upper \+ \d+ lower case\.$/, 'mixedCase', ['count']],
  [/^(\d+)\+ A-Z\/a-z\.$/, 'mixedCase', ['count']],
  [/^Needs (\d+) digits?\.$/, 'digits', ['count']],
  [/^(\d+)\+ digits\.$/, 'digits', ['count']],
  [/^Needs (\d+) symbols?\.$/, 'symbols', ['count']],
  [/^(\d+)\+ symbols\.$/, 'symbols', ['count']],
  [/^Needs (\d+) non-ASCII\.$/, 'nonAscii', ['count']],
  [/^(\d+)\+ non-ASCII\.$/, 'nonAscii', ['count']],
  [/^(?:Symbol not allowed|Bad symbol)\.$/, 'symbolNotAllowed', []],
  [/^(?:Control chars not allowed|Control char)\.$/, 'control', []],
  [/^(?:Not valid UTF-8|Bad UTF-8)\.$/, 'utf8', []],
  [/^(?:Contains user name|Has user name)\.$/, 'userName', []],
  [/^(?:On block list|Blocked)\.$/, 'blockList', []],
  [/^Same as current password\.$/, 'sameAsCurrent', []],
  [/^(?:Used in last (\d+) passwords|Reused \((\d+)\))\.$/, 'reused', ['count', 'count']],
  [/^Max (\d+) changes? per (.+)\.$/, 'changeLimit', ['count', 'interval']],
  [/^Max (\d+)\/(.+)\.$/, 'changeLimit', ['count', 'interval']],
  [/^Too many wrong passwords: try again in (\d+) seconds\.$/, 'wait', ['seconds']],
  [/^Invalid user name\.$/, 'invalidUserName', []],
  [/^The last administrator cannot be removed\.$/, 'lastAdmin', []],
  [/^The last administrator must keep the role Admin\.$/, 'lastAdminRole', []],
];

export function translateSentence(sentence) {
  for (const [pattern, key, names] of sentences) {
    const match = pattern.exec(sentence);
    if (!match) continue;
    const values = {};
    names.forEach((name, index) => {
      const value = match[index + 1];
      if (value !== undefined) values[name] = name === 'interval' ? intervalText(value) : value;
    });
    return t(`refusals.${key}`, values);
  }
  return sentence;
}
