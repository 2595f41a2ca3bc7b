// Login, its failures and waits, the session cookie and the forced change of the initial password.
#include <chrono>
#include <thread>

#include "HostTest.h"

namespace Kyr::IntegrationTests {
namespace {

const std::string loginFailed = "Login failed: wrong user name or password, or too many failed attempts.";

using LoginTest = HostTest;

TEST_F(LoginTest, RefusesMalformedBodiesAndWrongCredentialsAlike) {
    // Exactly JSON: a body another site's form can send must not log a visitor into an account of its choosing.
    const std::string valid = R"({"username":"admin","password":"Initial-Admin-1"})";
    for (const char* type : {"text/plain", "application/jsonp", "application/json-patch+json", "application/x-www-form-urlencoded"})
        EXPECT_EQ(Client().Send("POST", "/api/login", valid, {{"Content-Type", type}}).status, 400) << type;
    for (const char* body : {"", "not json", "[]", R"({"username":"admin"})", R"({"username":1,"password":"x"})"})
        EXPECT_EQ(Client().Send("POST", "/api/login", body, {{"Content-Type", "application/json"}}).status, 400) << body;
    EXPECT_EQ(Client().Send("POST", "/api/login", valid, {{"Content-Type", "application/json; charset=utf-8"}}).status, 200);
    // A known name with a wrong password and an unknown name get the very same answer.
    for (const char* user : {"admin", "nobody"}) {
        WebClient client = Client();
        Answer answer = client.Login(user, "wrong");
        EXPECT_EQ(answer.status, 401) << user;
        EXPECT_EQ(answer.Json()["errorText"].GetString(), loginFailed) << user;
        EXPECT_EQ(answer.Header("Set-Cookie"), "") << user;
    }
}

TEST_F(LoginTest, SessionCookieCsrfTokenAndLogout) {
    WebClient client = Client();
    Answer login = client.Login("admin", InitialAdminPassword);
    ASSERT_EQ(login.status, 200);
    const std::string cookie = login.Header("Set-Cookie");
    for (const char* attribute : {"HttpOnly", "SameSite=Strict", "Path=/"})
        EXPECT_NE(cookie.find(attribute), std::string::npos) << cookie;
    EXPECT_EQ(client.sessionId.size(), 64u);

    EXPECT_EQ(client.Get("/api/session").body, R"({"loggedIn":true,"userName":"admin","csrfToken":")" + client.csrfToken +
                                                   R"(","passwordChangeRequired":true,"authenticationRequired":true,"directoryUser":false,"secondFactorEnrolmentRequired":false})");

    EXPECT_EQ(client.Post("/api/logout", "", {{"X-CSRF-Token", "0"}}).status, 403);
    EXPECT_EQ(client.Post("/api/logout", "").status, 200);
    EXPECT_EQ(client.Get("/api/session").Json()["loggedIn"], false);
    EXPECT_EQ(client.Get("/api/UserManagementInfoDp/GetPasswordInfo").status, 401);
}

TEST_F(LoginTest, InitialPasswordMustBeChangedBeforeAnythingElse) {
    WebClient admin = Client();
    ASSERT_EQ(admin.Login("admin", InitialAdminPassword).Json()["passwordChangeRequired"], true);
    for (const char* path : {"/api/UserManagementDp/GetUserManagementConfig", "/api/LdapDp/IsLdapConfigurationEnabled",
                             "/api/SystemUseNotificationDp/GetSystemUseNotification"}) {
        Answer refused = admin.Get(path);
        EXPECT_EQ(refused.status, 403) << path;
        EXPECT_EQ(refused.Json()["passwordChangeRequired"], true) << path;
    }
    EXPECT_EQ(admin.Get("/pages/UserManager").Header("Location"), "/password.html");
    EXPECT_EQ(admin.Get("/api/UserManagementInfoDp/GetPasswordInfo").Json()["result"]["isUsingInitialPassword"], true);

    EXPECT_EQ(admin.ChangeOwnPassword(InitialAdminPassword, AdminPassword).Json()["result"], true);
    EXPECT_EQ(admin.Get("/api/session").Json()["passwordChangeRequired"], false);
    EXPECT_EQ(admin.Get("/api/UserManagementDp/GetUserManagementConfig").status, 200);
}

TEST_F(LoginTest, FailuresMakeTheNameWaitWithoutRevealingWhetherItExists) {
    WebClient admin = Admin();
    SetSessionPolicy(admin, 2, 1, 3, 5, true);

    Answer failed = Client().Login("ghost", "wrong");
    EXPECT_EQ(failed.status, 401);
    EXPECT_EQ(failed.Header("Retry-After"), "2");
    // A wrong current password in a password change counts like a failed login.
    EXPECT_EQ(admin.ChangeOwnPassword("wrong", "Other-Secure-Pass!43").Json()["errorText"], "Current password is wrong.");
    // During the wait even the right password is refused, with the seconds left.
    Answer waiting = Client().Login("admin", AdminPassword);
    EXPECT_EQ(waiting.status, 401);
    EXPECT_EQ(waiting.Json()["errorText"].GetString(), loginFailed);
    EXPECT_FALSE(waiting.Header("Retry-After").empty());
    EXPECT_EQ(admin.ChangeOwnPassword(AdminPassword, "Other-Secure-Pass!43").Json()["errorText"].GetString(),
              std::string("Too many wrong passwords: try again in 2 seconds."));

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
    int status = 0;
    while (status != 200 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        status = Client().Login("admin", AdminPassword).status;
    }
    EXPECT_EQ(status, 200) << "the wait did not end";

    // Administrators are spared the wait when the policy says so; other names are not. With one
    // session per user, the new login ends the older ones.
    SetSessionPolicy(admin, 2, 1, 3, 1, false);
    EXPECT_EQ(Client().Login("admin", "wrong").Header("Retry-After"), "");
    EXPECT_EQ(Client().Login("admin", AdminPassword).status, 200);
    EXPECT_EQ(Client().Login("ghost", "wrong").Header("Retry-After"), "3"); // second failure: 2 + 1
    EXPECT_EQ(admin.Get("/api/session").Json()["loggedIn"], false);
}

TEST(GeneratedPasswordTest, IsPrintedOnFirstStart) {
    TempDir temp;
    std::string password;
    {
        HostProcess host(temp.Path() / "data");
        const std::string prefix = "Initial password of user \"admin\": ";
        for (const auto& line : host.StartLines())
            if (auto at = line.find(prefix); at != std::string::npos) password = line.substr(at + prefix.size());
        ASSERT_GE(password.size(), 12u); // its characters: tests/browser/host-start.test.js
        EXPECT_EQ(WebClient(host.Port()).Login("admin", password).status, 200);
        EXPECT_EQ(host.LogText().find(password), std::string::npos) << "the password reached the log";
    }
}

} // namespace
} // namespace Kyr::IntegrationTests
