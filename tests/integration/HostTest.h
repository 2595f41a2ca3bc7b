#pragma once
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

#include "HostProcess.h"
#include "WebClient.h"

namespace Kyr::IntegrationTests {

inline const char* const PlainUserPassword = "Us3r&Other-Pass!18"; // a PlainUser's own password
// A directory configuration the module accepts; no directory is asked.
inline const std::string ExampleLdapFile = "server = ldap://ldap.example.test\nstart_tls = no\nunencrypted_connection = allowed\n"
                                           "user_base = dc=example,dc=test\ngroup_base = dc=example,dc=test\n"
                                           "group_role = Admin : cn=admins,dc=example,dc=test\n";

// Starts a fresh host (empty data directory, known initial admin password) for each test.
struct HostTest : ::testing::Test {
    void SetUp() override { Start(); }
    // Every test ends with a clean stop and a log free of sanitizer reports.
    void TearDown() override {
        if (!host) return;
        EXPECT_EQ(host->Stop(), 0);
        const std::string log = host->LogText();
        EXPECT_EQ(log.find("Sanitizer"), std::string::npos) << log;
        EXPECT_EQ(log.find("runtime error:"), std::string::npos) << log;
    }
    void Start(std::vector<std::string> extra = {}, bool tls = false) {
        extra.insert(extra.end(), {"--admin-password", InitialAdminPassword});
        host = std::make_unique<HostProcess>(DataDir(), extra, tls);
    }
    std::filesystem::path DataDir() const { return temp.Path() / "data"; }
    WebClient Client() const { return WebClient(host->Port(), host->Tls()); }
    WebClient Admin() {
        WebClient admin = Client();
        admin.LoginAsAdminFirstTime();
        return admin;
    }
    // Adds a user without extra roles and logs it in, with its password changed if it must be.
    WebClient PlainUser(WebClient& admin, const std::string& name) {
        const std::string password = "Us3r&Secure-Pass!17";
        admin.Call("UserManagementDp/AddUser", "username=" + name + "&password=" + password + "&confirmPassword=" + password);
        WebClient user = Client();
        Answer login = user.Login(name, password);
        EXPECT_EQ(login.status, 200) << login.body;
        if (login.status == 200 && login.Json()["passwordChangeRequired"].GetBool()) {
            EXPECT_EQ(user.ChangeOwnPassword(password, PlainUserPassword).Json()["result"], true);
        }
        return user;
    }

    // Until the host answers again after RestartSystem (at most 20 s).
    static void WaitForRestart(WebClient& client) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (client.Get("/api/session").status != 200 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    // Waits after failed logins (seconds), live sessions per user, and whether administrators wait too.
    static void SetSessionPolicy(WebClient& admin, int initial, int increment, int maximum, int sessions, bool adminsWait) {
        admin.Call("UserManagementDp/SetSessionPolicyConfig",
                   "{\"sessionPolicyParameter\":{\"timeoutInitialSeconds\":" + std::to_string(initial) +
                       ",\"timeoutIncrementSeconds\":" + std::to_string(increment) + ",\"timeoutMaximumSeconds\":" +
                       std::to_string(maximum) + ",\"maxConcurrentSessionsCount\":" + std::to_string(sessions) +
                       ",\"maxSessionTimeMinutes\":60,\"issueTimeoutToAdminUsers\":" + (adminsWait ? "true" : "false") + "}}");
    }

    TempDir temp;
    std::unique_ptr<HostProcess> host;
};

} // namespace Kyr::IntegrationTests
