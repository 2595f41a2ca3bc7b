// The module's request functions reach it through the host. Each changing function is called (and
// its audit record checked) in AuditTrailTest.cpp, the reading ones of each data provider per caller
// in PermissionsTest.cpp; here the remaining reading ones, and what the host adds to two answers.
// What the functions do is the module's and the services' tests (tests/unit, tests/services).
#include "HostTest.h"

namespace Kyr::IntegrationTests {
namespace {

using ModuleFunctionsTest = HostTest;

TEST_F(ModuleFunctionsTest, ReadingFunctionsAnswer) {
    WebClient admin = Admin();
    EXPECT_EQ(admin.Call("UserManagementDp/IsUserAuthenticationRequired")["result"], true);
    EXPECT_EQ(admin.Call("UserManagementDp/IsAuthenticationDeactivatable")["result"], false);
    EXPECT_TRUE(admin.Call("UserManagementDp/GetPasswordBlockList")["result"].IsObject());
    EXPECT_TRUE(admin.Call("LdapDp/ListTrustStoresNames")["result"].IsArray());
}

TEST_F(ModuleFunctionsTest, LdapConfigurationIsShownAsText) {
    WebClient admin = Admin();
    admin.Call("LdapDp/SetLdapConfiguration", "server = ldap://ldap.example.test\nstart_tls = no\nunencrypted_connection = allowed\n"
                                              "user_base = ou=people\\, plant,dc=example,dc=test\ngroup_base = dc=example,dc=test\n"
                                              "group_role = Admin : cn=admins,dc=example,dc=test\n");
    Answer text = admin.Get("/api/LdapDp/GetLdapConfiguration");
    EXPECT_EQ(text.Header("Content-Type"), "text/plain; charset=utf-8");
    // Shown with each backslash doubled.
    EXPECT_NE(text.body.find("user_base = ou=people\\\\, plant,dc=example,dc=test\n"), std::string::npos) << text.body;
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
