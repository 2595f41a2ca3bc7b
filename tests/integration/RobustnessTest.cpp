// Restarts losing nothing, limits and hostile input (invalid requests in the security log: AuditTrailTest.cpp).
#include "HostTest.h"
#include "RawConnection.h"

namespace Kyr::IntegrationTests {
namespace {

using RobustnessTest = HostTest;

// What an administrator set: a user and the login text.
void ExpectDataKept(WebClient& client) {
    ASSERT_EQ(client.Login("admin", AdminPassword).status, 200);
    EXPECT_EQ(client.Get("/api/session").Json()["passwordChangeRequired"], false);
    EXPECT_NE(ToJson(client.Call("UserManagementDp/GetUserManagementConfig")).find("\"erin\""), std::string::npos);
    EXPECT_EQ(client.Get("/api/login-banner").body, R"({"lines":["Kept"]})");
}

TEST_F(RobustnessTest, DataSurviveRestartSystemAndANewStartOfTheHost) {
    WebClient admin = Admin();
    admin.Call("UserManagementDp/AddUser", "username=erin&password=Us3r&Secure-Pass!17&confirmPassword=Us3r&Secure-Pass!17");
    admin.Call("SystemUseNotificationDp/SetSystemUseNotification", "SystemUseNotification=Kept");
    admin.Call("UserManagementDp/RestartSystem");

    // The same process answers again on the same port; sessions ended with the restart.
    WaitForRestart(admin);
    EXPECT_EQ(admin.Get("/api/session").Json()["loggedIn"], false);
    EXPECT_TRUE(host->IsRunning());
    EXPECT_NE(host->LogText().find("Restarting"), std::string::npos);
    ExpectDataKept(admin);

    EXPECT_EQ(host->Stop(), 0) << host->LogText();
    host = std::make_unique<HostProcess>(DataDir());
    for (const auto& line : host->StartLines()) EXPECT_EQ(line.find("Initial password"), std::string::npos) << line;
    WebClient again = Client();
    ExpectDataKept(again);
}

TEST_F(RobustnessTest, OversizedAndHostileRequestsAreRefusedWithoutHarm) {
    const std::string small(3000, 'x'), large(5000, 'x');
    WebClient anonymous = Client();
    EXPECT_EQ(anonymous.Post("/api/UserManagementDp/RemoveUser", large).status, 413);
    EXPECT_EQ(anonymous.Post("/api/UserManagementDp/RemoveUser", small).status, 401);

    WebClient admin = Admin();
    EXPECT_EQ(admin.Post("/api/SystemUseNotificationDp/SetSystemUseNotification",
                         "SystemUseNotification=" + std::string(60000, 'x')).status, 200);
    // Form text is bounded tighter than documents: the module's expressions search it.
    EXPECT_EQ(admin.Post("/api/UserManagementDp/AddUser", "username=u&password=" + std::string(70000, 'p')).status, 413);
    std::string longList = R"({"passwordsBlockList":["Blocked-0")";
    for (int i = 1; i < 5000; ++i) longList += R"(,"Blocked-)" + std::to_string(i) + "\"";
    EXPECT_EQ(admin.Post("/api/UserManagementDp/SetPasswordBlockList", longList + "]}").status, 200);
    // Refused from the announced length, before the body is read.
    const std::string announced = RawExchange(host->Port(), "POST /api/LdapDp/SetLdapConfiguration HTTP/1.1\r\n"
                                                           "Host: x\r\nCookie: session=" + admin.sessionId +
                                                           "\r\nContent-Length: 1048577\r\n\r\n");
    EXPECT_EQ(announced.rfind("HTTP/1.1 413", 0), 0u) << announced;
    // Bodies without a length, and heads beyond the header limit, would be read without limit.
    std::string endlessHead = "GET /api/session HTTP/1.1\r\n";
    for (int i = 0; i < 40; ++i) endlessHead += "X-Filler: " + std::string(1024, 'z') + "\r\n";
    for (const auto& [unbounded, status] : {std::pair<std::string, const char*>{"POST /api/login HTTP/1.1\r\nHost: x\r\n"
                                                                               "Transfer-Encoding: chunked\r\n\r\n", "411"},
                                            {"PUT /login.html HTTP/1.1\r\nHost: x\r\n\r\n", "405"},
                                            {endlessHead, "431"}})
        EXPECT_EQ(RawExchange(host->Port(), unbounded).rfind(std::string("HTTP/1.1 ") + status, 0), 0u) << unbounded.substr(0, 60);
    Headers many;
    for (int i = 0; i < 9; ++i) many.emplace("X-Filler-" + std::to_string(i), std::string(1024, 'y'));
    EXPECT_EQ(admin.Get("/api/session", many).status, 431);

    // Deep enough to exhaust a recursive JSON parser's stack, for the function and for its audit record.
    for (const char* function : {"SetPasswordBlockList", "ModifyUserConfig"})
        EXPECT_EQ(admin.Post(std::string("/api/UserManagementDp/") + function, std::string(1000000, '[')).status, 400) << function;
    EXPECT_EQ(admin.Get("/api/session").status, 200);
    // A request function that throws (password longer than its buffer) answers 500 with the reason.
    Answer thrown = admin.ChangeOwnPassword(AdminPassword, std::string(130, 'A'));
    EXPECT_EQ(thrown.status, 500);
    EXPECT_EQ(thrown.Json()["errorText"], "Input string is too long");

    for (const char* path : {"/../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/css/..%2f..%2f..%2fetc/passwd",
                             "/pages/UserManager.html", "/pages/..%2fpages%2fUserManager", "/%00"}) {
        Answer answer = admin.Get(path);
        EXPECT_NE(answer.status, 200) << path;
        EXPECT_EQ(answer.body.find("root:"), std::string::npos) << path;
    }
    EXPECT_EQ(Client().Login("\xff\xfe", std::string(1, '\0')).status, 401);
    for (const char* garbage : {"\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\nHost\r\n\r\n",
                                "POST /api/login HTTP/1.1\r\nContent-Length: -1\r\n\r\n"})
        RawExchange(host->Port(), garbage);
    EXPECT_TRUE(host->IsRunning());
    EXPECT_EQ(admin.Get("/api/session").status, 200);
}

} // namespace
} // namespace Kyr::IntegrationTests
