// What the host writes to its logs: password values hidden, one line per entry.
#include <gtest/gtest.h>

#include "audit/LogText.h"

namespace Kyr::WbmHost {
namespace {

TEST(LogTextTest, PasswordValuesAreHidden) {
    const struct { const char* text; const char* logged; } cases[] = {
        {"username=a&password=S3cret&confirmPassword=S3cret", "username=a&password=***&confirmPassword=***"},
        {"currentPassword=x y&NEWPASSWORD=", "currentPassword=*** y&NEWPASSWORD=***"},
        {R"({"password" : "a\"b", "user":"u"})", R"({"password" : "***", "user":"u"})"},
        {R"({"newPassword":"unterminated)", R"({"newPassword":"***")"},
        {"no passwords here; password alone", "no passwords here; password alone"},
        {"passwor", "passwor"},
        // A form value running over a JSON member's name hides that member's value too.
        {R"(password=w{"x,"password": "Secret" "user")", R"(password=*** "***" "user")"},
        {R"({"password":"a password=b c"} newPassword=d)", R"({"password":"***"} newPassword=***)"},
    };
    for (const auto& item : cases) EXPECT_EQ(RedactPasswords(item.text), item.logged) << item.text;
    // Long texts are handled in one pass (a recursive matcher would run out of stack).
    const Kyr::String longValue = "{\"password\":\"" + Kyr::String(1 << 20, '\\');
    EXPECT_EQ(RedactPasswords(longValue), "{\"password\":\"***\"");
    EXPECT_EQ(OneLine("a\nb\x01" + Kyr::String(10, 'c'), 10), "a\\nb\\x01cc...");
    // An escape that would pass the limit is cut with the rest.
    EXPECT_EQ(OneLine("abcdefghi\x01xyz", 10), "abcdefghi...");
}

} // namespace
} // namespace Kyr::WbmHost
