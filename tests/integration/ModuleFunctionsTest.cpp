// Every request function of the module once, through the host and the real services (the login requirement
// switch: PermissionsTest.cpp; the own password: LoginTest.cpp).
#include "HostTest.h"

namespace Kyr::IntegrationTests {
namespace {

using ModuleFunctionsTest = HostTest;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(ModuleFunctionsTest, UserAdministration) {
    WebClient admin = Admin();
    admin.Call("UserManagementDp/AddUser", "username=carl&password=Us3r&Secure-Pass!17&confirmPassword=Us3r&Secure-Pass!17");
    admin.Call("UserManagementDp/SetUserPassword",
               "username=carl&newPassword=Us3r&Other-Pass!18&confirmNewPassword=Us3r&Other-Pass!18");
    auto config = admin.Call("UserManagementDp/GetUserManagementConfig");
    ASSERT_TRUE(config["result"]["allUserRoles"].IsArray()) << ToJson(config);
    admin.Call("UserManagementDp/ModifyUserConfig",
               R"({"userConfigItem":{"userName":"carl","hasAdminRuleset":true,"userRoles":)" +
                   ToJson(config["result"]["allUserRoles"]) + "}}");
    EXPECT_TRUE(Contains(ToJson(admin.Call("UserManagementDp/GetUserManagementConfig")),
                         R"({"userName":"carl","hasAdminRuleset":true,"userRoles":)" + ToJson(config["result"]["allUserRoles"])));
    admin.Call("UserManagementDp/RemoveUser", "username=carl");
    EXPECT_FALSE(Contains(ToJson(admin.Call("UserManagementDp/GetUserManagementConfig")), "carl"));

    EXPECT_EQ(admin.Call("UserManagementDp/IsUserAuthenticationRequired")["result"], true);
}

TEST_F(ModuleFunctionsTest, PoliciesRoundTripAndTakeEffect) {
    WebClient admin = Admin();
    auto rulesets = admin.Call("UserManagementDp/GetPasswordRoleRulesets");
    for (auto& ruleset : rulesets["result"]["passwordRoleRulesets"].GetArray()) {
        ruleset["passwordPolicyParameter"]["minCharCount"] = 14;
        ruleset["passwordPolicyParameter"]["minNumberCount"] = 3;
    }
    admin.Call("UserManagementDp/SetPasswordRoleRulesets", ToJson(rulesets["result"]));
    // Every broken rule is named, for a new user and for the own change alike.
    auto weak = admin.Post("/api/UserManagementDp/AddUser", "username=dora&password=ab&confirmPassword=ab").Json();
    EXPECT_EQ(weak["errorText"], "Too short: min 14 chars. Needs 1 upper + 1 lower case. Needs 3 digits.");
    EXPECT_EQ(admin.ChangeOwnPassword(AdminPassword, "Short-1").Json()["errorText"], "Too short: min 14 chars. Needs 3 digits.");

    admin.Call("UserManagementDp/SetPasswordBlockList", R"({"passwordsBlockList":["Summer-2026!x"]})");
    EXPECT_TRUE(Contains(ToJson(admin.Call("UserManagementDp/GetPasswordBlockList")), "Summer-2026!x"));

    auto policy = admin.Call("UserManagementDp/GetSessionPolicyConfig");
    policy["result"]["maxConcurrentSessionsCount"] = 7;
    admin.Call("UserManagementDp/SetSessionPolicyConfig", "{\"sessionPolicyParameter\":" + ToJson(policy["result"]) + "}");
    EXPECT_EQ(admin.Call("UserManagementDp/GetSessionPolicyConfig")["result"]["maxConcurrentSessionsCount"], 7);
}

TEST_F(ModuleFunctionsTest, LdapConfiguration) {
    WebClient admin = Admin();
    const std::string file = "server = ldap://ldap.example.test\nstart_tls = no\nunencrypted_connection = allowed\n"
                             "user_base = ou=people\\, plant,dc=example,dc=test\ngroup_base = dc=example,dc=test\n"
                             "group_role = Admin : cn=admins,dc=example,dc=test\n";
    admin.Call("LdapDp/SetLdapConfiguration", file);
    Answer text = admin.Get("/api/LdapDp/GetLdapConfiguration");
    EXPECT_EQ(text.Header("Content-Type"), "text/plain; charset=utf-8");
    // Shown with each backslash doubled.
    EXPECT_NE(text.body.find("user_base = ou=people\\\\, plant,dc=example,dc=test\n"), std::string::npos) << text.body;
    admin.Call("LdapDp/SetLdapConfigurationEnabled", "EnableLdap=true");
    EXPECT_EQ(admin.Call("LdapDp/IsLdapConfigurationEnabled")["result"], true);
    EXPECT_TRUE(admin.Call("LdapDp/ListTrustStoresNames")["result"].IsArray());
}

TEST_F(ModuleFunctionsTest, SystemUseNotificationReachesTheLoginPage) {
    WebClient admin = Admin();
    admin.Call("SystemUseNotificationDp/SetSystemUseNotification", "SystemUseNotification=Welcome\r\nAuthorised <use> only");
    const std::string lines = R"(["Welcome","","Authorised &lt;use&gt; only"])";
    EXPECT_EQ(ToJson(admin.Call("SystemUseNotificationDp/GetSystemUseNotification")["result"]["SystemUseNotification"]), lines);
    EXPECT_EQ(Client().Get("/api/login-banner").body, R"({"lines":)" + lines + "}");
}

} // namespace
} // namespace Kyr::IntegrationTests
