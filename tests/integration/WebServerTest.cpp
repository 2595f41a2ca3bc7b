// The web server under abuse: connection limits, slow and idle clients, refused requests that must
// not leak into the next one, methods, sessions of changed users, files and start-up.
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include "HostTest.h"
#include "RawConnection.h"

namespace Kyr::IntegrationTests {
namespace {

using WebServerTest = HostTest;

int CountAnswers(const std::string& received) {
    int count = 0;
    for (std::size_t at = received.find("HTTP/1.1 "); at != std::string::npos; at = received.find("HTTP/1.1 ", at + 1)) ++count;
    return count;
}

TEST_F(WebServerTest, ConnectionLimitsRefuseAtOnceAndLeaveOthersServed) {
    host.reset();
    Start({"--max-connections", "40", "--max-connections-per-address", "3"});
    std::vector<std::unique_ptr<RawConnection>> held;
    for (int i = 0; i < 3; ++i) held.push_back(std::make_unique<RawConnection>(host->Port(), "127.0.1.1"));
    RawConnection fourth(host->Port(), "127.0.1.1");
    EXPECT_TRUE(fourth.ClosedByHost(2000)) << "a fourth connection from one address";
    for (auto& connection : held) EXPECT_FALSE(connection->ClosedByHost(50));

    // Fill the rest from other addresses: one more anywhere is refused, but not before that.
    for (int i = 0; i < 37; ++i) held.push_back(std::make_unique<RawConnection>(host->Port(), "127.0.2." + std::to_string(1 + i / 3)));
    RawConnection beyond(host->Port(), "127.0.3.1");
    EXPECT_TRUE(beyond.ClosedByHost(2000));
    held.resize(10);
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // the host sees the closed ones go
    EXPECT_EQ(Client().Get("/api/session").status, 200);
}

TEST_F(WebServerTest, SlowAndIdleClientsCostNoThreadAndMeetTheirDeadlines) {
    std::vector<std::unique_ptr<RawConnection>> idle, slow;
    for (int i = 0; i < 300; ++i) idle.push_back(std::make_unique<RawConnection>(host->Port(), "127.0.4." + std::to_string(1 + i / 30)));
    for (int i = 0; i < 30; ++i) slow.push_back(std::make_unique<RawConnection>(host->Port(), "127.0.5." + std::to_string(1 + i / 30)));
    const std::string head = "GET /api/session HTTP/1.1\r\nHost: x\r\n\r\n";
    // A normal request is answered at once while every one of them sends a byte a second.
    for (std::size_t second = 0; second < 3; ++second) {
        for (auto& connection : slow) connection->Send(head.substr(second, 1));
        EXPECT_EQ(Client().Get("/api/session").status, 200);
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    // The head's deadline counts from its first byte: dribbling does not reset it.
    for (std::size_t second = 3; second < 8; ++second) {
        for (auto& connection : slow) connection->Send(head.substr(second, 1));
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    // A head still incomplete after 10 s is told so, and the connection ends.
    EXPECT_EQ(slow.front()->Receive(4000).rfind("HTTP/1.1 408 ", 0), 0u);
    EXPECT_TRUE(slow.front()->ClosedByHost(100));
    EXPECT_TRUE(idle.front()->ClosedByHost(100)) << "a connection silent for 10 s";
}

TEST_F(WebServerTest, RefusedRequestsCloseTheConnectionUnread) {
    const std::string smuggled = "GET /api/session HTTP/1.1\r\nHost: x\r\n\r\n";
    struct Case { std::string head; const char* status; };
    const std::string large = std::to_string(5000 + smuggled.size());
    for (const Case& refused : {Case{"POST /api/login HTTP/1.1\r\nHost: x\r\nContent-Length: " + large + "\r\n\r\n", "413"},
                                Case{"GET /api/session HTTP/1.1\r\nHost: x\r\nContent-Length: 38\r\n\r\n", "400"},
                                Case{"POST /api/login HTTP/1.1\r\nHost: x\r\nContent-Length: abc\r\n\r\n", "400"},
                                Case{"HEAD /api/session HTTP/1.1\r\nHost: x\r\nContent-Length: 38\r\n\r\n", "405"},
                                Case{"GET /" + std::string(18 * 1024, 'a') + " HTTP/1.1\r\nHost: x\r\n\r\n", "414"}}) {
        RawConnection connection(host->Port());
        connection.Send(refused.head + smuggled + std::string(5000, ' '));
        const std::string received = connection.Receive();
        EXPECT_EQ(received.rfind(std::string("HTTP/1.1 ") + refused.status, 0), 0u) << refused.head.substr(0, 40) << received;
        EXPECT_EQ(CountAnswers(received), 1) << "the unread rest was taken for a request: " << refused.head.substr(0, 40);
    }
}

TEST_F(WebServerTest, OnlyGetAndPostReachTheModule) {
    WebClient admin = Admin();
    const std::string change = WithQuery("/api/UserManagementInfoDp/ChangeCurrentUserPassword",
                                         {{"currentPassword", AdminPassword}, {"newPassword", "Other&Secure-Pass!43"},
                                          {"confirmNewPassword", "Other&Secure-Pass!43"}});
    for (const char* method : {"HEAD", "PUT", "DELETE", "OPTIONS", "PATCH"}) {
        Headers headers{{"Cookie", "session=" + admin.sessionId}};
        EXPECT_EQ(admin.Send(method, change, "", headers).status, 405) << method;
        EXPECT_EQ(admin.Send(method, "/api/UserManagementDp/RestartSystem", "", headers).status, 405) << method;
    }
    EXPECT_EQ(Client().Login("admin", AdminPassword).status, 200) << "the password was changed";
    EXPECT_EQ(host->LogText().find("Restart requested"), std::string::npos);
}

// Logs "eng" in with a password set by the administrator and changed at once (a fresh one each round).
WebClient LogInAgain(WebServerTest& test, WebClient& admin, int round) {
    const std::string given = "Us3r&Given-Pass!" + std::to_string(round), own = "Us3r&Own-Pass!" + std::to_string(round);
    admin.Call("UserManagementDp/SetUserPassword", "username=eng&newPassword=" + given + "&confirmNewPassword=" + given);
    WebClient eng = test.Client();
    EXPECT_EQ(eng.Login("eng", given).status, 200);
    EXPECT_EQ(eng.ChangeOwnPassword(given, own).Json()["result"], true);
    return eng;
}

TEST_F(WebServerTest, SessionsEndWhenTheirUserChanges) {
    WebClient admin = Admin();
    const std::string password = "Us3r&Secure-Pass!17";
    const std::string add = "username=eng&password=" + password + "&confirmPassword=" + password;
    const std::string toAdmin = R"({"userConfigItem":{"userName":"eng","hasAdminRuleset":false,"userRoles":["Admin"]}})";
    struct Change { const char* what; std::vector<std::pair<const char*, std::string>> calls; };
    const Change changes[] = {
        {"removed and added again", {{"UserManagementDp/RemoveUser", "username=eng"}, {"UserManagementDp/AddUser", add}}},
        {"password set by an administrator",
         {{"UserManagementDp/SetUserPassword", "username=eng&newPassword=Us3r&Other-Pass!9&confirmNewPassword=Us3r&Other-Pass!9"}}},
        {"roles changed", {{"UserManagementDp/ModifyUserConfig", toAdmin}}},
    };
    admin.Call("UserManagementDp/AddUser", add);
    int round = 0;
    for (const Change& change : changes) {
        WebClient eng = LogInAgain(*this, admin, ++round);
        ASSERT_EQ(eng.Get("/api/session").Json()["loggedIn"], true) << change.what;
        for (const auto& [function, body] : change.calls) admin.Call(function, body);
        EXPECT_EQ(eng.Get("/api/session").Json()["loggedIn"], false) << change.what;
        EXPECT_EQ(eng.Get("/api/UserManagementInfoDp/GetPasswordInfo").status, 401) << change.what;
    }
    // The same roles again are no change: the session stays.
    WebClient eng = LogInAgain(*this, admin, ++round);
    admin.Call("UserManagementDp/ModifyUserConfig", toAdmin);
    EXPECT_EQ(eng.Get("/api/session").Json()["loggedIn"], true);
}

TEST_F(WebServerTest, DataFilesAreTheOwnersAndCrashLeftoversGo) {
    Admin().Call("SystemUseNotificationDp/SetSystemUseNotification", "SystemUseNotification=Hello");
    host->Stop();
    const auto leftover = DataDir() / "login-text.tmp-AbC123";
    std::ofstream(leftover) << "half";
    Start();
    EXPECT_FALSE(std::filesystem::exists(leftover));
    for (const char* name : {"users.db", "users.db-wal", "users.db-shm", "login-text", "dummy-hash"}) {
        struct stat info {};
        ASSERT_EQ(stat((DataDir() / name).c_str(), &info), 0) << name;
        EXPECT_EQ(info.st_mode & 077, 0u) << name << " is readable by others";
    }
}

TEST_F(WebServerTest, ConcurrentLdapUploadsAllSucceed) {
    WebClient admin = Admin();
    std::vector<std::thread> uploaders;
    std::atomic<int> failures{0};
    for (int thread = 0; thread < 4; ++thread) {
        uploaders.emplace_back([&, thread] {
            WebClient client = admin;
            for (int i = 0; i < 10; ++i) {
                const std::string file = "# upload " + std::to_string(thread * 100 + i) + "\n" + ExampleLdapFile;
                Answer answer = client.Post("/api/LdapDp/SetLdapConfiguration", file);
                if (answer.status != 200 || answer.Json()["error"] != false) ++failures;
            }
        });
    }
    for (auto& uploader : uploaders) uploader.join();
    EXPECT_EQ(failures, 0);
}

bool MapsDirectoryClient(pid_t pid) {
    const std::string maps = Kyr::Testing::ReadFileText("/proc/" + std::to_string(pid) + "/maps");
    return maps.find("libldap") != std::string::npos || maps.find("Kyr.PlatformServices.Directory") != std::string::npos;
}

// A device that never uses directory login never carries the directory client in its memory.
TEST_F(WebServerTest, TheDirectoryClientIsLoadedOnlyWhenFirstUsed) {
    WebClient admin = Admin();
    EXPECT_FALSE(MapsDirectoryClient(host->Pid()));
    admin.Call("LdapDp/SetLdapConfiguration", ExampleLdapFile);
    EXPECT_TRUE(MapsDirectoryClient(host->Pid())) << "distinguished names are checked by the directory client";
}

TEST(WebServerStartTest, AnAddressInUseIsRefusedBeforeAnythingIsMade) {
    TempDir temp;
    HostProcess first(temp.Path() / "first");
    EXPECT_THROW(HostProcess(temp.Path() / "second", {"--listen", "127.0.0.1:" + std::to_string(first.Port())}), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(temp.Path() / "second" / "users.db"));
    EXPECT_NE(Kyr::Testing::ReadFileText(temp.Path() / "second.host.log").find("already in use"), std::string::npos);
    EXPECT_EQ(WebClient(first.Port()).Get("/api/session").status, 200);
}

// Two hosts on one data directory would each serve from caches that the other's writes make stale.
// The second is refused, also when another path names the same directory, and the first goes on.
TEST(WebServerStartTest, ADataDirectoryInUseIsRefused) {
    TempDir temp;
    HostProcess first(temp.Path() / "data");
    std::filesystem::create_directory_symlink(temp.Path() / "data", temp.Path() / "alias");
    EXPECT_THROW(HostProcess second(temp.Path() / "alias"), std::runtime_error);
    EXPECT_NE(Kyr::Testing::ReadFileText(temp.Path() / "alias.host.log").find("is in use by another wbm-host"), std::string::npos);
    EXPECT_EQ(WebClient(first.Port()).Get("/api/session").status, 200);
    EXPECT_EQ(first.Stop(), 0);
    HostProcess next(temp.Path() / "alias"); // the lock ends with its process
    EXPECT_EQ(WebClient(next.Port()).Get("/api/session").status, 200);
}

// A line per request costs about as much as a small answer: it is written only when asked for.
TEST(WebServerStartTest, AnsweredRequestsAreLoggedOnlyWithTheAccessLog) {
    for (const bool accessLog : {false, true}) {
        TempDir temp;
        std::vector<std::string> arguments;
        if (accessLog) arguments.push_back("--access-log");
        {
            HostProcess host(temp.Path() / "data", arguments);
            EXPECT_EQ(WebClient(host.Port()).Get("/api/session").status, 200);
            EXPECT_EQ(host.Stop(), 0);
        }
        const bool logged = Kyr::Testing::ReadFileText(temp.Path() / "data.host.log").find("GET /api/session 200") != std::string::npos;
        EXPECT_EQ(logged, accessLog) << (accessLog ? "with" : "without") << " --access-log";
    }
}

TEST(WebServerStartTest, StopLetsTheAnswerInFlightFinish) {
    TempDir temp;
    // A costly hash keeps the login under way while the host is told to stop.
    HostProcess host(temp.Path() / "data", {"--hash-cost", "moderate", "--admin-password", InitialAdminPassword});
    Answer answer;
    std::thread login([&] { answer = WebClient(host.Port()).Login("admin", "wrong password"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(host.Stop(), 0);
    login.join();
    EXPECT_EQ(answer.status, 401);
}

// What a service manager hears on its notification socket, and the restart it is asked for.
TEST(WebServerStartTest, UnderAServiceManagerReadinessIsToldAndARestartIsLeftToIt) {
    TempDir temp;
    const std::string socketPath = (temp.Path() / "notify").string();
    const int listener = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    auto receive = [&] {
        pollfd descriptor{listener, POLLIN, 0};
        char message[256] = "";
        if (poll(&descriptor, 1, 10000) > 0) recv(listener, message, sizeof message - 1, 0);
        return std::string(message);
    };
    setenv("NOTIFY_SOCKET", socketPath.c_str(), 1);
    HostProcess host(temp.Path() / "data", {"--admin-password", InitialAdminPassword});
    unsetenv("NOTIFY_SOCKET");
    EXPECT_EQ(receive(), "READY=1");
    WebClient admin(host.Port());
    admin.LoginAsAdminFirstTime();
    admin.Call("UserManagementDp/RestartSystem");
    EXPECT_EQ(receive(), "STOPPING=1");
    for (int wait = 0; wait < 200 && host.IsRunning(); ++wait) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(host.Stop(), 75) << "the exit status that asks the service manager for a new start";
    close(listener);
}

} // namespace
} // namespace Kyr::IntegrationTests
