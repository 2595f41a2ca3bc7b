// The changing functions of "UserManagementDp": how the body is searched or read, what reaches the
// service, what is answered and what is reported as an invalid request.
#include "UserAdministrationFixture.h"

namespace {

using namespace UsersTests;

const String n63(63, 'n'), n64(64, 'n'), p127(127, 'p'), p128(128, 'p');
String Repeated(const String& part, int times) { String s; for (int i = 0; i < times; ++i) s += part; return s; }
// Bodies within the host's 64 KiB that cost a backtracking search of the expression seconds.
const String complex = Repeated("username=&password=", 3400);
const String tailAfterMatch = "username=u&password=p&confirmPassword=p" + Repeated("&password=x", 5000);
const String prefixBeforeMatch = Repeated("&password=x", 5000) + "username=u&password=p&confirmPassword=p";
const String item = R"({"userConfigItem":{"userName":"anna","hasAdminRuleset":true,"userRoles":["Admin","Viewer"],"passwordInfo":7}})";
String Refused(const String& text) { return R"({"error":true,"errorText":")" + text + R"(","result":null})"; }

// calls: the service calls made; notified: the function named by the invalid-request notification.
struct FormCase { const char* function; String body; String calls; String answer; String notified; };

TEST_F(UserAdministration, BodiesAreSearchedAndValuesPassedAsSent) {
    const String modified = R"({"error":false,"errorText":"","result":true})";
    const std::vector<FormCase> cases = {
        {"AddUser", "username=anna&password=pw&confirmPassword=pw", "AddUser(anna,pw)", ok, ""},
        {"AddUser", "x=1&username=anna&password=pw&confirmPassword=pw", "AddUser(anna,pw)", ok, ""},
        {"AddUser", "username=a%20b&password=p+&confirmPassword=p+", "AddUser(a%20b,p+)", ok, ""},
        // Greedy groups: a value holding the next key splits at the last place that still matches.
        {"AddUser", "username=a&password=b&password=c&confirmPassword=c", "AddUser(a&password=b,c)", ok, ""},
        {"AddUser", "username=u&password=p&confirmPassword=p&confirmPassword=p", "", Refused("Passwords don't match!"), ""},
        {"AddUser", "username=a\\b&password=p&confirmPassword=p", "AddUser(a\\b,p)", ok, ""},
        {"AddUser", "username=\\&password=p&confirmPassword=p", "", Refused("Username has invalid characters"), ""},
        {"AddUser", "username=" + n63 + "&password=p&confirmPassword=p", "AddUser(" + n63 + ",p)", ok, ""},
        {"AddUser", "username=" + n64 + "&password=p&confirmPassword=p", "", Refused("Username has invalid characters"), ""},
        {"AddUser", "username=u&password=" + p127 + "&confirmPassword=" + p127, "AddUser(u," + p127 + ")", ok, ""},
        {"AddUser", "username=&password=p&confirmPassword=p", "", invalid, "SetUserPassword"},
        // Long bodies made for a backtracking search are answered by what they hold, not by where a
        // search would give up: no match, values too long for a match, a match after the junk.
        {"AddUser", complex, "", invalid, "SetUserPassword"},
        {"AddUser", tailAfterMatch, "", Refused("Passwords don't match!"), ""},
        {"AddUser", prefixBeforeMatch, "AddUser(u,p)", ok, ""},
        {"SetUserPassword", "username=u&newPassword=n&confirmNewPassword=n" + Repeated("&newPassword=n", 5000), "",
         Refused("Passwords don't match!"), ""},
        {"RemoveUser", "a=b&username=\\&y=z", "RemoveUser(\\&y=z)", ok, ""},
        {"RemoveUser", "username=", "", invalid, "SetUserPassword"},
        {"SetUserPassword", "username=\\&newPassword=n&newPassword=m&confirmNewPassword=m", "SetUserPassword(\\&newPassword=n,m)", ok, ""},
        {"SetUserPassword", "username=u&newPassword=n&confirmNewPassword=n ", "", Refused("Passwords don't match!"), ""},
        {"SetUserPassword", "username=u&password=n&confirmPassword=n", "", invalid, "SetUserPassword"},
        {"SetAuthenticationRequiredState", "csrf=1&userAthenticationEnabled=true", "Required(true)", ok, ""},
        {"SetAuthenticationRequiredState", "userAthenticationEnabled=TRUE", "Required(false)", ok, ""},
        {"SetAuthenticationRequiredState", "userAthenticationEnabled=true&x=1", "Required(false)", ok, ""},
        {"SetAuthenticationRequiredState", "userAuthenticationEnabled=true", "", invalid, "SetAuthenticationRequiredState"},
        {"SetAuthenticationRequiredState", "userAthenticationEnabled=", "", invalid, "SetAuthenticationRequiredState"},
        {"ModifyUserConfig", item, "SetUserRoles(anna,Admin,Viewer)SetAdminRuleset(anna,true)", modified, ""},
        {"ModifyUserConfig", R"({"userConfigItem":{"userName":"a","userName":"b","hasAdminRuleset":false,"userRoles":[]}})",
         "SetUserRoles(a)SetAdminRuleset(a,false)", modified, ""},
        // Over-long names, roles and passwords: the argument error escapes before any service call.
        {"AddUser", "username=u&password=" + p128 + "&confirmPassword=" + p128, "", tooLong, ""},
        {"RemoveUser", "username=" + n64, "", tooLong, ""},
        {"SetUserPassword", "username=" + n64 + "&newPassword=p&confirmNewPassword=p", "", tooLong, ""},
        {"SetUserPassword", "username=u&newPassword=" + p128 + "&confirmNewPassword=" + p128, "", tooLong, ""},
        {"ModifyUserConfig", R"({"userConfigItem":{"userName":")" + n64 + R"(","hasAdminRuleset":true,"userRoles":[]}})", "", tooLong, ""},
        {"ModifyUserConfig", R"({"userConfigItem":{"userName":"u","hasAdminRuleset":true,"userRoles":[")" + n64 + R"("]}})", "", tooLong, ""},
    };
    for (const FormCase& c : cases) {
        SCOPED_TRACE(String(c.function) + " " + c.body.substr(0, 80));
        EXPECT_EQ(Call(c.function, c.body), c.answer);
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(Notified(), c.notified.empty() ? "" : c.body + "|" + c.notified + ";");
    }
}

TEST_F(UserAdministration, RefusalsAnswerTheServicesTextOrTheSwitchsFixedText) {
    accept = false;
    ON_CALL(users, GetLastErrorText()).WillByDefault(Return(RscString<128>("User \"anna\" exists")));
    const String serviceText = Refused(R"(User \"anna\" exists)");
    EXPECT_EQ(Call("AddUser", "username=anna&password=p&confirmPassword=p"), serviceText);
    EXPECT_EQ(Call("RemoveUser", "username=anna"), serviceText);
    EXPECT_EQ(Call("SetUserPassword", "username=anna&newPassword=p&confirmNewPassword=p"), serviceText);
    // A refused role change skips the ruleset; the value is false whenever there is an error text.
    const String modifyRefused = R"({"error":true,"errorText":"User \"anna\" exists","result":false})";
    EXPECT_EQ(Call("ModifyUserConfig", item) + calls, modifyRefused + "SetUserRoles(anna,Admin,Viewer)");
    ON_CALL(users, SetUserRoles(_, _)).WillByDefault(Return(true));
    EXPECT_EQ(Call("ModifyUserConfig", item) + calls, modifyRefused + "SetAdminRuleset(anna,true)");
    EXPECT_EQ(Logged(), "");
    EXPECT_EQ(Call("SetAuthenticationRequiredState", "userAthenticationEnabled=yes"), Refused("Failed to set user authentication required state"));
    EXPECT_EQ(Logged(), "3:Failed to set user authentication required state to :false;");
    Call("AddUser", "username=\\&password=secret&confirmPassword=secret");
    EXPECT_EQ(Logged(), "3:Username has invalid characters;");
}

TEST_F(UserAdministration, QueriesAndRestartAnswerWithoutError) {
    ON_CALL(users, GetAuthenticationRequired()).WillByDefault(Return(true));
    EXPECT_EQ(Call("IsUserAuthenticationRequired"), R"({"error":false,"errorText":"","result":true})");
    EXPECT_EQ(Call("IsAuthenticationDeactivatable"), R"({"error":false,"errorText":"","result":false})");
    EXPECT_CALL(*services.deviceControl, RestartDevice()).WillOnce(Return(false)); // refusal is not reported
    EXPECT_EQ(Call("RestartSystem"), ok);
}

} // namespace
