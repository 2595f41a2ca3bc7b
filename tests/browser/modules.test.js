// The pages' pure helpers, without a browser: what goes over the wire and how answers are read.
import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { decodeEntities, isBlankText } from '../../web/js/entities.js';
import { sentencesOf } from '../../web/js/errors.js';
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
