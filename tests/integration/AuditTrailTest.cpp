// The audit trail through the host: every kind of event recorded where it happens and read back
// through GET /api/audit by administrators only; live sessions listed and ended.
#include <set>

#include "HostTest.h"

namespace Kyr::IntegrationTests {
namespace {

struct AuditTrailTest : HostTest {
    void SetUp() override { Start({"--allow-auth-deactivation"}); }
    std::set<std::string> RecordedEvents(WebClient& admin) {
        Answer answer = admin.Get("/api/audit?limit=1000");
        EXPECT_EQ(answer.status, 200) << answer.body;
        std::set<std::string> events;
        const auto document = answer.Json();
        for (const auto& record : document["records"].GetArray()) {
            std::string event = record["eventId"].GetString();
            if (event == "session.ended") event += std::string(":") + record["detail"].GetString();
            events.insert(event);
        }
        return events;
    }
    // The handle of the first session that `admin` lists for `user`, the own one or another.
    static std::string SessionHandle(WebClient& admin, const std::string& user, bool own) {
        const auto listed = admin.Get("/api/sessions").Json();
        for (const auto& session : listed["sessions"].GetArray())
            if (session["userName"] == user.c_str() && session["own"].GetBool() == own) return session["handle"].GetString();
        return {};
    }
};

TEST_F(AuditTrailTest, EveryEventIsRecordedAndReadBackByAdministratorsOnly) {
    WebClient admin = Admin();
    const std::string password = "Us3r&Secure-Pass!17";
    EXPECT_EQ(Client().Login("ghost", "wrong").status, 401);
    // Sessions of three users end: by the administrator, by a password set for it, by its removal.
    WebClient eng = PlainUser(admin, "eng"), ops = PlainUser(admin, "ops"), tmp = PlainUser(admin, "tmp");
    // Only administrators read the trail; a user sees the own sessions only and cannot end another's.
    EXPECT_EQ(eng.Get("/api/audit").status, 403);
    EXPECT_EQ(Client().Get("/api/audit").status, 401);
    EXPECT_EQ(eng.Get("/api/sessions").Json()["sessions"].Size(), 1u);
    const std::string adminHandle = SessionHandle(admin, "admin", true);
    EXPECT_EQ(eng.Post("/api/sessions/" + adminHandle + "/end", "").status, 404);
    EXPECT_EQ(eng.Post("/api/sessions/" + adminHandle + "/end", "", {{"X-CSRF-Token", "x"}}).status, 403);
    EXPECT_EQ(admin.Post("/api/sessions/" + SessionHandle(admin, "eng", false) + "/end", "").status, 200);
    EXPECT_EQ(eng.Get("/api/session").Json()["loggedIn"], false);
    admin.Call("UserManagementDp/SetUserPassword", "username=ops&newPassword=Us3r&Other-Pass!9&confirmNewPassword=Us3r&Other-Pass!9");
    admin.Call("UserManagementDp/ModifyUserConfig", R"({"userConfigItem":{"userName":"eng","hasAdminRuleset":false,"userRoles":[]}})");
    admin.Call("UserManagementDp/RemoveUser", "username=tmp");
    auto rulesets = admin.Call("UserManagementDp/GetPasswordRoleRulesets");
    admin.Call("UserManagementDp/SetPasswordRoleRulesets", ToJson(rulesets["result"]));
    admin.Call("UserManagementDp/SetPasswordBlockList", R"({"passwordsBlockList":["Summer-2026!x"]})");
    auto policy = admin.Call("UserManagementDp/GetSessionPolicyConfig");
    admin.Call("UserManagementDp/SetSessionPolicyConfig", "{\"sessionPolicyParameter\":" + ToJson(policy["result"]) + "}");
    admin.Call("LdapDp/SetLdapConfiguration", ExampleLdapFile);
    admin.Call("LdapDp/SetLdapConfigurationEnabled", "EnableLdap=false");
    admin.Call("SystemUseNotificationDp/SetSystemUseNotification", "SystemUseNotification=Hello");
    admin.Call("UserManagementDp/SetAuthenticationRequiredState", "userAthenticationEnabled=true");
    const auto invalid = admin.Post("/api/UserManagementDp/AddUser", "username=mallory&password=Secret-Value-99&confirm=x");
    EXPECT_EQ(invalid.Json()["errorText"], "Invalid Request!");
    // A second session of the administrator is ended from the first, one by logout.
    WebClient other = Client();
    ASSERT_EQ(other.Login("admin", AdminPassword).status, 200);
    const std::string otherHandle = SessionHandle(admin, "admin", false);
    ASSERT_EQ(otherHandle.size(), 32u);
    EXPECT_EQ(admin.Get("/api/sessions").body.find(admin.sessionId), std::string::npos) << "a session id left the host";
    EXPECT_EQ(admin.Post("/api/sessions/" + otherHandle + "/end", "").status, 200);
    EXPECT_EQ(other.Get("/api/session").Json()["loggedIn"], false);
    EXPECT_EQ(admin.Post("/api/sessions/" + otherHandle + "/end", "").status, 404);
    WebClient leaving = Client();
    ASSERT_EQ(leaving.Login("admin", AdminPassword).status, 200);
    leaving.Post("/api/logout", "");
    admin.Call("UserManagementDp/RestartSystem");
    WaitForRestart(admin);
    ASSERT_EQ(admin.Login("admin", AdminPassword).status, 200);

    const auto events = RecordedEvents(admin);
    for (const char* expected :
         {"host.started", "session.login.success", "session.login.failure", "session.logout", "session.ended:administrator", "session.ended:user",
          "session.ended:user-removed", "session.ended:user-changed", "session.ended:restart", "user.added", "user.removed",
          "user.password.set", "user.password.changed", "user.config.changed", "auth.required.changed",
          "policy.rulesets.changed", "policy.blocklist.changed", "policy.session.changed", "ldap.config.uploaded",
          "ldap.enabled.changed", "logintext.changed", "system.restart", "request.invalid"})
        EXPECT_EQ(events.count(expected), 1u) << expected;

    // Filters and the CSV export; nothing of a password in any answer.
    Answer failures = admin.Get("/api/audit?outcome=failure&event=session.login.failure");
    EXPECT_EQ(failures.Json()["records"].Size(), 1u) << failures.body;
    Answer csv = admin.Get("/api/audit?format=csv&limit=1000");
    EXPECT_EQ(csv.Header("Content-Type"), "text/csv; charset=utf-8");
    for (const std::string& secret : {password, std::string(AdminPassword), std::string("Secret-Value-99"), admin.sessionId})
        EXPECT_EQ(csv.body.find(secret), std::string::npos) << secret;
    EXPECT_EQ(admin.Get("/api/audit?limit=0").status, 400);
    EXPECT_EQ(host->Stop(), 0);
    EXPECT_FALSE(FilesContaining(DataDir(), "host.stopped").empty());
    // The invalid request reached the security log too, its password nowhere.
    EXPECT_FALSE(FilesContaining(DataDir(), "Security.Kyr.Services.Wbm.Um.InvalidRequest").empty());
    EXPECT_NE(host->LogText().find("Security.Kyr.Services.Wbm.Um.InvalidRequest"), std::string::npos);
    EXPECT_TRUE(FilesContaining(DataDir(), "Secret-Value-99").empty());
    EXPECT_EQ(host->LogText().find("Secret-Value-99"), std::string::npos);
    host.reset();
}

} // namespace
} // namespace Kyr::IntegrationTests
