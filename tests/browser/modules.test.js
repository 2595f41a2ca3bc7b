// The pages' pure helpers, without a browser: what goes over the wire, how answers are read and
// said, and what the page checks before sending.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { describe, test } from 'node:test';
import { filterQuery } from '../../web/js/audit-events.js';
import { decodeEntities, isBlankText } from '../../web/js/entities.js';
import { ApiError } from '../../web/js/api.js';
import { describeError, moduleErrorText, sentencesOf } from '../../web/js/errors.js';
import { codeOf, groupSecret, recoveryCodeOf } from '../../web/js/second-factor.js';
import { useDictionary } from '../../web/js/i18n.js';
import { checkRules } from '../../web/js/password-rules.js';
import { checkSessionPolicy } from '../../web/js/um/session-policy.js';
import { removable, userNameProblem, viewOf } from '../../web/js/um/user-list.js';
import { webRoot } from './lib/paths.js';
import { FormValueError, formBody, queryString } from '../../web/js/form-body.js';
import { parseDownload } from '../../web/js/ldap-text.js';
import { safeNext } from '../../web/js/redirect.js';
import { entriesOf } from '../../web/js/um/block-list.js';

describe('login text decoding', () => {
  const cases = [
    ['the five named entities', 'Tom &amp; Jerry&apos;s &lt;b&gt; &quot;x&quot;', 'Tom & Jerry\'s <b> "x"'],
    ['one pass only: an encoded entity stays literal', '&amp;lt;b&amp;gt;', '&lt;b&gt;'],
    ['the encoded first blank of a blank text', '&#32;  ', '   '],
    ['numeric entities', '&#65;&#x42;&#X43;', 'ABC'],
    ['unknown or broken entities are left alone', '&nbsp; &amp &#0; &#x110000;', '&nbsp; &amp &#0; &#x110000;'],
    ['markup-looking text that was not encoded stays as it is', 'a <i> b', 'a <i> b'],
  ];
  for (const [name, input, expected] of cases) {
    test(name, () => assert.equal(decodeEntities(input), expected));
  }

  test('lines of blanks count as no text', () => {
    assert.equal(isBlankText(['', ' ', '\t']), true);
    assert.equal(isBlankText(['', 'x']), false);
  });
});

describe('form bodies for the module', () => {
  test('values go out raw, not URL-encoded', () => {
    assert.equal(formBody([['username', 'a b'], ['password', '50%+x=y']]), 'username=a b&password=50%+x=y');
  });

  test('a value the module would split or not find is refused with its field', () => {
    for (const [value, reason] of [['Tom&Jerry', 'ampersand'], ['', 'empty']]) {
      const refusal = (error) => error instanceof FormValueError && error.field === 'password' && error.reason === reason;
      assert.throws(() => formBody([['username', 'bob'], ['password', value]]), refusal);
    }
  });

  test('query parameters are encoded, since the host decodes them', () => {
    assert.equal(queryString([['newPassword', 'a&b=c+d %']]), 'newPassword=a%26b%3Dc%2Bd%20%25');
  });
});

describe('module answers', () => {
  const text = 'Failed to get LDAP configuration with error code LdapConfigurationMissing';

  test('an LDAP download has its doubled backslashes undone, other text kept', () => {
    assert.deepEqual(parseDownload('cn=a\\\\b\nx\\\\\\\\y\n'), { text: 'cn=a\\b\nx\\\\y\n' });
  });

  test("an LDAP download that is the module's error element is recognised", () => {
    const answer = `<Error code="LdapConfigurationMissing" text="${text}" />`;
    assert.deepEqual(parseDownload(answer), { error: { code: 'LdapConfigurationMissing', text } });
  });

  test('block list lines: every kind of line break separates; empty lines are dropped; blanks inside are kept', () => {
    assert.deepEqual(entriesOf('a\r\nb\rc\n\n d \n'), ['a', 'b', 'c', ' d ']);
  });
});

describe('refusals naming several rules', () => {
  const cases = [
    ['Too short: min 12 chars. Needs 1 upper + 1 lower case. Needs 1 digit.', 3],
    ['Invalid Request!', 1],
    ['Passwords don\'t match!  Try again?', 2],
    ['', 0],
  ];
  for (const [text, count] of cases) {
    test(`${JSON.stringify(text)} is ${count} sentence(s)`, () => assert.equal(sentencesOf(text).length, count));
  }
});

describe('where the login page sends the browser afterwards', () => {
  const origin = 'http://device.local:8080';
  const cases = [
    ['/pages/UserManager', '/pages/UserManager'],
    ['/pages/LdapConfiguration?x=1#top', '/pages/LdapConfiguration?x=1#top'],
    ['//evil.test/x', ''],
    ['/\\evil.test/x', ''],
    ['https://evil.test/', ''],
    ['javascript:alert(1)', ''],
    ['/login.html?next=/x', ''],
    [null, ''],
  ];
  for (const [next, expected] of cases) {
    test(`${JSON.stringify(next)} → ${JSON.stringify(expected)}`, () => assert.equal(safeNext(next, origin), expected));
  }
});

describe('texts in the chosen language', () => {
  const dictionaries = Object.fromEntries(
    ['en', 'de'].map((code) => [code, JSON.parse(fs.readFileSync(path.join(webRoot, 'i18n', `${code}.json`), 'utf8'))]),
  );
  // [language, what the device answered, what the page says]
  const cases = [
    ['de', 'Too short: min 12 chars. Needs 1 digit. On block list.', 'Zu kurz: Es sind mindestens 12 Zeichen nötig. Es ist mindestens 1 Ziffer nötig. Das Passwort steht auf der Sperrliste.'],
    ['de', 'Min 12 chars. 2+ A-Z/a-z. Reused (5).', 'Zu kurz: Es sind mindestens 12 Zeichen nötig. Es sind mindestens 2 Groß- und 2 Kleinbuchstaben nötig. Das Passwort war unter den letzten 5 Passwörtern.'],
    ['de', 'Max 5 changes per day. Max 1/2 weeks.', 'Erlaubt sind höchstens 5 Passwortänderungen pro Tag. Erlaubt ist höchstens 1 Passwortänderung pro 2 Wochen.'],
    ['de', 'Too many wrong passwords: try again in 9 seconds.', 'Zu viele falsche Passwörter: Versuchen Sie es in 9 Sekunden erneut.'],
    ['en', 'Needs 2 symbols. Something new the page does not know.', 'At least 2 symbols are needed. Something new the page does not know.'],
    ['en', 'Failed to get LDAP configuration with error code LdapConfigurationMissing', 'Upload a configuration first.'],
    ['de', 'LdapConfigurationInvalid', 'Die LDAP-Konfigurationsdatei ist ungültig: Prüfen Sie ihre Zeilen und laden Sie sie erneut hoch.'],
    ['de', 'Invalid Request!', 'Das Gerät hat die Anfrage nicht angenommen.'],
  ];
  for (const [code, answer, expected] of cases) {
    test(`${code}: ${answer}`, () => {
      useDictionary(code, dictionaries[code]);
      assert.equal(moduleErrorText(answer), expected);
    });
  }
});

describe('password rules checked while typing', () => {
  const policy = {
    minCharCount: 8, minASCIICount: 2, minMixedCharCount: 1, minNumberCount: 1, minSymbolCount: 1, minUnicodeCount: 0,
    allowedASCIISymbols: '-!', blockUsername: true, checkBlockList: true, blockReusedPasswords: false, reusedGenerationCount: 0,
  };
  const unmet = (password, userName = 'bob') => checkRules(policy, password, userName).filter((rule) => rule.met === false).map((rule) => rule.key);
  // [password, rules not met] — the counting follows the device's
  const cases = [
    ['', ['length', 'letters', 'mixedCase', 'digits', 'symbols']],
    ['Abcdefg-1', []],
    ['abcdefg-1', ['mixedCase']],
    ['Abcdefg+1', ['symbols', 'allowedSymbols']], // "+" is not among the allowed symbols
    ['ÄBcdefg-1', []], // "Ä" is non-ASCII: no letter, but "Bcdefg" are enough
    ['Äbcdefg-1', ['mixedCase']], // and no upper case letter either
    ['ÄÖÜßéèê-1', ['letters', 'mixedCase']],
    ['Abc\tdefg-1', ['allowedSymbols']], // a control character
    ['Abc-BOB-de1', ['userName']], // the name in any case
    ['Ab-1' + 'x'.repeat(124), ['maxBytes']],
  ];
  for (const [password, expected] of cases) {
    test(`${JSON.stringify(password.length > 20 ? `${password.slice(0, 12)}…` : password)} → ${expected.join(', ') || 'all met'}`, () => {
      useDictionary('en', {});
      assert.deepEqual(unmet(password), expected);
    });
  }

  test('a user name shorter than three characters is no rule at all; the block list is left to the device', () => {
    useDictionary('en', {});
    assert.deepEqual(unmet('Abcdefg-1-al', 'al'), []);
    assert.equal(checkRules(policy, 'Abcdefg-1').find((rule) => rule.key === 'blockList').met, null);
  });
});

describe('values the device would refuse', () => {
  const valid = { timeoutInitialSeconds: 1, timeoutIncrementSeconds: 1, timeoutMaximumSeconds: 60, maxConcurrentSessionsCount: 10, maxSessionTimeMinutes: 600 };
  const cases = [
    [{}, null],
    [{ maxConcurrentSessionsCount: 0 }, 'maxConcurrentSessionsCount'],
    [{ maxConcurrentSessionsCount: 101 }, 'maxConcurrentSessionsCount'],
    [{ maxSessionTimeMinutes: 43200 }, null],
    [{ maxSessionTimeMinutes: 43201 }, 'maxSessionTimeMinutes'],
    [{ timeoutMaximumSeconds: 86401 }, 'timeoutMaximumSeconds'],
    [{ timeoutInitialSeconds: 60 }, null],
    [{ timeoutInitialSeconds: 61 }, 'timeoutInitialSeconds'],
    [{ timeoutIncrementSeconds: 61 }, 'timeoutIncrementSeconds'],
  ];
  for (const [change, key] of cases) {
    test(`session policy ${JSON.stringify(change)} → ${key ?? 'accepted'}`, () => {
      const problem = checkSessionPolicy({ ...valid, ...change });
      assert.equal(problem && problem.key, key);
    });
  }

  const names = [
    ['operator1', ''],
    ['Jürgen Weiß', ''],
    ['', 'empty'],
    ['ü'.repeat(32), 'tooLong'], // 64 bytes
    ['a/b', 'characters'],
    ['a:b', 'characters'],
    [' lead', 'characters'],
    ['tab\there', 'characters'],
    ['Unauthenticated', 'characters'],
  ];
  for (const [name, problem] of names) {
    test(`user name ${JSON.stringify(name)} → ${problem || 'accepted'}`, () => assert.equal(userNameProblem(name), problem));
  }
});

describe('the user list view', () => {
  const user = (userName, roles = [], timeToExpire = 0) => ({ userName, userRoles: roles, hasAdminRuleset: false, passwordInfo: { passwordState: 'Valid', timeToExpire } });
  const users = [user('b', ['Admin'], 0), user('a10', [], 500), user('a9', ['Operator'], 100), user('C', ['Admin'])];
  const names = (view) => viewOf(users, view).rows.map((u) => u.userName);

  test('names sort naturally and without regard to case; a never-expiring password sorts last', () => {
    assert.deepEqual(names({}), ['a9', 'a10', 'b', 'C']);
    assert.deepEqual(names({ sortKey: 'expiry' }), ['a9', 'a10', 'b', 'C']);
    assert.deepEqual(names({ sortKey: 'expiry', descending: true }), ['b', 'C', 'a10', 'a9'], 'ties stay in name order');
  });

  test('search finds names and roles, in any case; roles sort without roles first, then by name', () => {
    assert.deepEqual(names({ search: ' A1 ' }), ['a10']);
    assert.deepEqual(names({ search: 'oPer' }), ['a9']);
    assert.deepEqual(names({ search: 'nobody' }), []);
    assert.deepEqual(names({ sortKey: 'roles' }), ['a10', 'b', 'C', 'a9']);
  });

  test('a page past the end shows the last page', () => {
    assert.deepEqual(viewOf(users, { page: 7, pageSize: 3 }), { rows: [users[3]], total: 4, page: 1, pages: 2 });
  });

  test('Remove: never the own account, an administrator only while another one remains', () => {
    assert.equal(removable(users[1], users, 'b'), true);
    assert.equal(removable(users[0], users, 'a9'), true);
    assert.equal(removable(users[0], users, 'b'), false);
    assert.equal(removable(users[3], users.slice(1), 'a9'), false);
  });
});

describe('security log filters as the host reads them', () => {
  test('local times become UTC with milliseconds; "to" takes in its whole second', () => {
    const query = filterQuery({ from: '2026-11-23T10:00', to: '2026-11-23T10:30:15', event: '', user: '', outcome: '' });
    const utc = /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$/;
    assert.match(query.get('from'), utc);
    assert.match(query.get('to'), utc);
    assert.equal(Date.parse(query.get('to')) - Date.parse(query.get('from')), (30 * 60 + 15) * 1000 + 999);
    assert.deepEqual([...query.keys()], ['from', 'to'], 'empty filters are left out');
  });

  test('event, user and outcome go as given, encoded once', () => {
    const query = filterQuery({ event: 'session.login.failure', user: 'a&b c', outcome: 'failure' });
    assert.equal(query.toString(), 'event=session.login.failure&user=a%26b+c&outcome=failure');
  });
});

describe('second-factor codes as people type them', () => {
  test('a code from the app: six digits, spaces as apps show them dropped; anything else is no code', () => {
    assert.equal(codeOf(' 123 456 '), '123456');
    for (const typed of ['12345', '1234567', '12a456', '', '123-456']) assert.equal(codeOf(typed), '', typed);
  });

  test('a recovery code keeps its letters and dash, loses the spaces of copying', () => {
    assert.equal(recoveryCodeOf(' abcde-FGHIJ\n'), 'abcde-FGHIJ');
  });

  test('the key is shown in groups of four, whatever spacing it came with', () => {
    assert.equal(groupSecret('JBSWY3DPEHPK3PXPJBSWY3DPEHPK3PXP'), 'JBSW Y3DP EHPK 3PXP JBSW Y3DP EHPK 3PXP');
    assert.equal(groupSecret('JBS WY3'), 'JBSW Y3');
  });

  test("the host's refusals around the second factor are said in the page's language", () => {
    const dictionary = JSON.parse(fs.readFileSync(path.join(webRoot, 'i18n', 'de.json'), 'utf8'));
    useDictionary('de', dictionary);
    assert.equal(describeError(new ApiError('http', { status: 403, errorText: 'Wrong password or code' })), dictionary.errors.secondFactor.wrongPasswordOrCode);
    assert.equal(describeError(new ApiError('http', { status: 400, errorText: 'The code is not valid' })), dictionary.errors.secondFactor.codeNotValid);
    const pending = new ApiError('http', { status: 403, errorText: 'Second factor enrolment required', secondFactorEnrolmentRequired: true });
    assert.equal(describeError(pending), dictionary.errors.secondFactorEnrolmentRequired);
  });
});
