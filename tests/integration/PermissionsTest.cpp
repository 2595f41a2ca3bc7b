// Who may call what: an administrator, a plain user and a caller without a session, with the login
// requirement on and off; CSRF tokens; pages.
#include <fstream>

#include "HostTest.h"

namespace Kyr::IntegrationTests {
namespace {

struct Expectation { const char* path; int admin; int plainUser; int noSession; };

// One read-only function per data provider, plus the public login text and the unknown ones.
const Expectation expectations[] = {
    {"/api/UserManagementDp/GetUserManagementConfig", 200, 403, 401},
    {"/api/UserManagementInfoDp/GetPasswordInfo", 200, 200, 401},
    {"/api/LdapDp/IsLdapConfigurationEnabled", 200, 403, 401},
    {"/api/SystemUseNotificationDp/GetSystemUseNotification", 200, 403, 401},
    {"/api/login-banner", 200, 200, 200},
    {"/api/NoSuchDp/GetUserManagementConfig", 404, 404, 404},
    {"/api/UserManagementDp/NoSuchFunction", 404, 404, 404},
    // A change through GET would carry no CSRF token: refused before anything else is looked at.
    {"/api/UserManagementDp/RestartSystem", 405, 405, 405},
    {"/api/SystemUseNotificationDp/SetSystemUseNotification", 405, 405, 405},
};

using PermissionsTest = HostTest;

TEST_F(PermissionsTest, PerDataProviderAndCaller) {
    WebClient admin = Admin();
    WebClient user = PlainUser(admin, "alice");
    WebClient anonymous = Client();
    for (const auto& expected : expectations) {
        EXPECT_EQ(admin.Get(expected.path).status, expected.admin) << "admin " << expected.path;
        EXPECT_EQ(user.Get(expected.path).status, expected.plainUser) << "user " << expected.path;
        EXPECT_EQ(anonymous.Get(expected.path).status, expected.noSession) << "anonymous " << expected.path;
    }
    // A POST with a session needs the session's CSRF token.
    const std::string path = "/api/UserManagementDp/GetUserManagementConfig";
    for (const std::string& wrong : {std::string(), std::string(64, 'a'), user.csrfToken})
        EXPECT_EQ(admin.Post(path, "", {{"X-CSRF-Token", wrong}}).status, 403) << wrong;
    EXPECT_EQ(admin.Post(path, "").status, 200);
}

TEST_F(PermissionsTest, PagesFollowSessionAndPageHandler) {
    EXPECT_EQ(Client().Get("/").Header("Location"), "/login.html");
    EXPECT_EQ(Client().Get("/pages/UserManager").Header("Location"), "/login.html?next=/pages/UserManager");
    WebClient admin = Admin();
    Answer page = admin.Get("/pages/UserManager");
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.Header("Content-Type").find("text/html"), std::string::npos);
    // 404 and 403 pages: tests/browser/access.test.js.
}

TEST(UnavailableProviderTest, LdapSwitchedOffInTheSettingsAnswers503) {
    TempDir temp;
    const auto settings = temp.Path() / "settings.xml";
    std::ofstream(settings) << R"(<?xml version="1.0"?><UmWbmModuleSettingsDocument>)"
                               R"(<UmWbmModuleSettings supportedLanguages="en" ldapEnabled="false"/></UmWbmModuleSettingsDocument>)";
    HostProcess host(temp.Path() / "data", {"--settings", settings.string(), "--admin-password", InitialAdminPassword});
    WebClient admin(host.Port());
    admin.LoginAsAdminFirstTime();
    EXPECT_EQ(admin.Get("/api/LdapDp/IsLdapConfigurationEnabled").status, 503);
    EXPECT_EQ(admin.Get("/pages/LdapConfiguration").status, 503);
    EXPECT_EQ(admin.Get("/api/UserManagementDp/GetUserManagementConfig").status, 200);
}

} // namespace
} // namespace Kyr::IntegrationTests
