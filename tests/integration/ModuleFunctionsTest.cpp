// Every request function of the module once, through the host and the real services.
#include "HostTest.h"

namespace Kyr::IntegrationTests {
namespace {

using ModuleFunctionsTest = HostTest;

std::string Wrap(const char* key, const rapidjson::Value& value) {
    rapidjson::Document document(rapidjson::kObjectType);
    rapidjson::Value copy(value, document.GetAllocator());
    document.AddMember(rapidjson::StringRef(key), copy, document.GetAllocator());
    return ToJson(document);
}

TEST_F(ModuleFunctionsTest, UserAdministration) {
    WebClient admin = Admin();
    const std::string password = "Us3r&Secure-Pass!17";
    admin.Call("UserManagementDp/AddUser", "username=carl&password=" + password + "&confirmPassword=" + password);
    admin.Call("UserManagementDp/SetUserPassword",
               "username=carl&newPassword=Us3r&Other-Pass!18&confirmNewPassword=Us3r&Other-Pass!18");

    auto config = admin.Call("UserManagementDp/GetUserManagementConfig");
    const auto& result = config["result"];
    ASSERT_TRUE(result["usersConfig"].IsArray() && result["allUserRoles"].IsArray()) << ToJson(config);
    EXPECT_EQ(result["usersConfig"].Size(), 2u);
    rapidjson::Document item(rapidjson::kObjectType);
    auto& allocator = item.GetAllocator();
    item.AddMember("userName", "carl", allocator);
    item.AddMember("hasAdminRuleset", true, allocator);
    item.AddMember("userRoles", rapidjson::Value(result["allUserRoles"], allocator), allocator);
    admin.Call("UserManagementDp/ModifyUserConfig", Wrap("userConfigItem", item));

    auto modified = admin.Call("UserManagementDp/GetUserManagementConfig");
    for (const auto& user : modified["result"]["usersConfig"].GetArray())
        if (user["userName"] == "carl") {
            EXPECT_EQ(user["hasAdminRuleset"], true);
        }
    admin.Call("UserManagementDp/RemoveUser", "username=carl");
    EXPECT_EQ(admin.Call("UserManagementDp/GetUserManagementConfig")["result"]["usersConfig"].Size(), 1u);

    EXPECT_EQ(admin.Call("UserManagementDp/IsUserAuthenticationRequired")["result"], true);
    EXPECT_EQ(admin.Call("UserManagementDp/IsAuthenticationDeactivatable")["result"], false);
    admin.Call("UserManagementDp/SetAuthenticationRequiredState", "userAthenticationEnabled=true");
    EXPECT_EQ(admin.Call("UserManagementInfoDp/GetPasswordInfo")["result"]["userName"], "admin");
}

TEST_F(ModuleFunctionsTest, PoliciesRoundTrip) {
    WebClient admin = Admin();
    auto rulesets = admin.Call("UserManagementDp/GetPasswordRoleRulesets");
    const auto& list = rulesets["result"].IsArray() ? rulesets["result"] : rulesets["result"]["passwordRoleRulesets"];
    ASSERT_TRUE(list.IsArray()) << ToJson(rulesets);
    admin.Call("UserManagementDp/SetPasswordRoleRulesets", Wrap("passwordRoleRulesets", list));

    admin.Call("UserManagementDp/SetPasswordBlockList", R"({"passwordsBlockList":["Summer-2026!x"]})");
    EXPECT_NE(ToJson(admin.Call("UserManagementDp/GetPasswordBlockList")).find("Summer-2026!x"), std::string::npos);

    auto policy = admin.Call("UserManagementDp/GetSessionPolicyConfig");
    ASSERT_TRUE(policy["result"].IsObject());
    policy["result"]["maxConcurrentSessionsCount"] = 7;
    admin.Call("UserManagementDp/SetSessionPolicyConfig", Wrap("sessionPolicyParameter", policy["result"]));
    EXPECT_EQ(admin.Call("UserManagementDp/GetSessionPolicyConfig")["result"]["maxConcurrentSessionsCount"], 7);
}

TEST_F(ModuleFunctionsTest, LdapConfiguration) {
    WebClient admin = Admin();
    const std::string configuration = "uri ldaps://ldap.example.test\nbase dc=example,dc=test\nbind dir\\sub\n";
    admin.Call("LdapDp/SetLdapConfiguration", configuration);
    Answer text = admin.Get("/api/LdapDp/GetLdapConfiguration");
    EXPECT_EQ(text.status, 200);
    EXPECT_EQ(text.Header("Content-Type"), "text/plain; charset=utf-8");
    EXPECT_EQ(text.body, "uri ldaps://ldap.example.test\nbase dc=example,dc=test\nbind dir\\\\sub\n");

    admin.Call("LdapDp/SetLdapConfigurationEnabled", "EnableLdap=true");
    EXPECT_EQ(admin.Call("LdapDp/IsLdapConfigurationEnabled")["result"], true);
    EXPECT_TRUE(admin.Call("LdapDp/ListTrustStoresNames")["result"].IsArray());
}

TEST_F(ModuleFunctionsTest, SystemUseNotificationReachesTheLoginPage) {
    WebClient admin = Admin();
    admin.Call("SystemUseNotificationDp/SetSystemUseNotification", "SystemUseNotification=Welcome\r\nAuthorised <use> only");
    auto notification = admin.Call("SystemUseNotificationDp/GetSystemUseNotification");
    const auto& lines = notification["result"]["SystemUseNotification"];
    ASSERT_TRUE(lines.IsArray());
    EXPECT_EQ(lines.Size(), 3u);
    auto banner = Client().Get("/api/login-banner").Json();
    EXPECT_EQ(ToJson(banner), R"({"lines":["Welcome","","Authorised &lt;use&gt; only"]})");
}

TEST_F(ModuleFunctionsTest, PasswordRulesNameEveryBrokenRule) {
    WebClient admin = Admin();
    auto rulesets = admin.Call("UserManagementDp/GetPasswordRoleRulesets");
    rapidjson::Value& list = rulesets["result"].IsArray() ? rulesets["result"] : rulesets["result"]["passwordRoleRulesets"];
    for (auto& ruleset : list.GetArray()) {
        auto& rules = ruleset["passwordPolicyParameter"];
        rules["minCharCount"] = 14;
        rules["minNumberCount"] = 3;
        rules["checkBlockList"] = true;
    }
    admin.Call("UserManagementDp/SetPasswordRoleRulesets", Wrap("passwordRoleRulesets", list));
    admin.Call("UserManagementDp/SetPasswordBlockList", R"({"passwordsBlockList":["Blocked-Pass-123"]})");

    auto tooWeak = admin.Post("/api/UserManagementDp/AddUser", "username=dora&password=ab&confirmPassword=ab").Json();
    EXPECT_EQ(tooWeak["error"], true);
    const std::string text = tooWeak["errorText"].GetString();
    EXPECT_NE(text.find("14"), std::string::npos) << text;
    EXPECT_NE(text.find("3"), std::string::npos) << text;
    // Otherwise acceptable, but on the block list (compared without case).
    auto blocked = admin.Post("/api/UserManagementDp/AddUser",
                              "username=dora&password=bLOCKED-pASS-123&confirmPassword=bLOCKED-pASS-123").Json();
    EXPECT_EQ(blocked["error"], true);
    EXPECT_NE(std::string(blocked["errorText"].GetString()).find("lock"), std::string::npos) << ToJson(blocked);
    // The own password change follows the same rules.
    auto own = admin.ChangeOwnPassword(AdminPassword, "short1").Json();
    EXPECT_EQ(own["result"], false);
    EXPECT_NE(std::string(own["errorText"].GetString()).find("14"), std::string::npos);
}

} // namespace
} // namespace Kyr::IntegrationTests
