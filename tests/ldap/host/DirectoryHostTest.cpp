// End to end: a directory user logs in to wbm-host against a real slapd, and the roles its groups
// map to decide what it may do; the login waits and the security log apply as to local users.
#include <filesystem>

#include "../SlapdServer.h"
#include "HostTest.h"
#include "TotpCode.h"

namespace Kyr::IntegrationTests {
namespace {

using Kyr::Testing::ReadFileText;
using Kyr::Testing::SlapdServer;
using Kyr::Testing::TestCertificates;

struct DirectoryHostTest : HostTest {
    void Configure(WebClient& admin) {
        std::filesystem::create_directories(DataDir() / "truststores/directory-ca");
        std::filesystem::copy_file(certificates.caFile, DataDir() / "truststores/directory-ca/ca.pem",
                                   std::filesystem::copy_options::overwrite_existing);
        // Generous timeouts: they cost time only when the directory does not answer, and a machine busy
        // with other builds may take seconds for a TLS connection of the sanitized host.
        admin.Call("LdapDp/SetLdapConfiguration",
                   "server = " + slapd.LdapsUri() + "\ntrust_store = directory-ca\nconnect_timeout = 10\noperation_timeout = 20\n"
                   "user_base = ou=people,dc=example,dc=test\nuser_filter = (objectClass=inetOrgPerson)\n"
                   "bind_dn = cn=reader,dc=example,dc=test\nbind_password = Reader-Secret-1\n"
                   "group_base = ou=groups,dc=example,dc=test\n"
                   "group_role = Admin : cn=admins,ou=groups,dc=example,dc=test\n"
                   "group_role = Engineer : cn=engineers,ou=groups,dc=example,dc=test\n");
        admin.Call("LdapDp/SetLdapConfigurationEnabled", "EnableLdap=true");
    }

    TempDir certificateFolder;
    TestCertificates certificates{certificateFolder.Path(), "Directory Test CA"};
    SlapdServer slapd{certificates};
};

TEST_F(DirectoryHostTest, DirectoryUsersLogInWithTheRolesOfTheMapping) {
    WebClient admin = Admin();
    Configure(admin);

    WebClient bob = Client();
    ASSERT_EQ(bob.Login("bob", "Bob-Dir-Pass-1").status, 200);
    Answer users = bob.Get("/api/UserManagementDp/GetUserManagementConfig");
    EXPECT_EQ(users.status, 200);
    EXPECT_EQ(users.body.find("\"bob\""), std::string::npos) << "directory users are not device users";

    WebClient alice = Client();
    Answer login = alice.Login("alice", "Alice-Dir-Pass-1");
    ASSERT_EQ(login.status, 200) << login.body;
    EXPECT_EQ(login.Json()["passwordChangeRequired"], false);
    EXPECT_EQ(alice.Get("/api/UserManagementDp/GetUserManagementConfig").status, 403);
    EXPECT_EQ(alice.ChangeOwnPassword("Alice-Dir-Pass-1", "Other-Dir-Pass-2").Json()["errorText"],
              "A directory user's password is changed in the directory, not on the device.");
    EXPECT_EQ(alice.Get("/api/session").Json()["directoryUser"], true);
    EXPECT_EQ(alice.Get("/api/ldap/status").status, 403) << "an Engineer may not configure LDAP";

    // The administrator's connection test names every step; the status tells the directory was reached.
    Answer test = admin.Post("/api/ldap/test", R"({"username":"alice","password":"Alice-Dir-Pass-1"})",
                             {{"Content-Type", "application/json"}});
    ASSERT_EQ(test.status, 200) << test.body;
    EXPECT_EQ(test.Json()["succeeded"], true) << test.body;
    EXPECT_EQ(admin.Post("/api/ldap/test", "[1]").status, 400);
    EXPECT_EQ(admin.Post("/api/ldap/test", "", {{"X-CSRF-Token", "wrong"}}).status, 403);
    Answer status = admin.Get("/api/ldap/status");
    ASSERT_EQ(status.status, 200);
    EXPECT_EQ(status.Json()["reached"], true) << status.body;
}

TEST_F(DirectoryHostTest, FailedDirectoryLoginsWaitAndAreLoggedWithoutThePassword) {
    WebClient admin = Admin();
    Configure(admin);
    WebClient alice = Client();
    Answer refused = alice.Login("alice", "Wrong-Dir-Pass-9");
    EXPECT_EQ(refused.status, 401);
    EXPECT_NE(refused.Header("Retry-After"), "") << "the session policy's wait applies";
    EXPECT_EQ(alice.Login("alice", "Alice-Dir-Pass-1").status, 401) << "during the wait the password is not checked";
    const std::string log = ReadFileText(DataDir() / "security.log");
    EXPECT_NE(log.find("event=\"session.login.failure\" category=\"access\" outcome=\"failure\" user=\"\" address=\"127.0.0.1\" target=\"alice\""), std::string::npos) << log;
    EXPECT_TRUE(FilesContaining(DataDir(), "Wrong-Dir-Pass-9").empty());
}

TEST_F(DirectoryHostTest, DirectoryUsersSetUpASecondFactorOnTheDevice) {
    WebClient admin = Admin();
    Configure(admin);
    WebClient alice = Client();
    ASSERT_EQ(alice.Login("alice", "Alice-Dir-Pass-1").status, 200);
    Answer started = alice.Post("/api/second-factor/enrolment", "");
    ASSERT_EQ(started.status, 200) << started.body;
    const std::string secret = started.Json()["secret"].GetString();
    ASSERT_EQ(alice.Post("/api/second-factor/enrolment/confirm", R"({"code":")" + TotpCode(secret) + R"("})").status, 200);

    // The directory's password is the first step only; the device's code completes the login.
    WebClient next = Client();
    Answer passwordStep = next.Login("alice", "Alice-Dir-Pass-1");
    ASSERT_EQ(passwordStep.status, 200);
    const std::string challenge = passwordStep.Json()["challenge"].GetString();
    Answer codeStep = next.Send("POST", "/api/login/second-factor",
                                R"({"challenge":")" + challenge + R"(","code":")" + TotpCode(secret, 1) + R"("})",
                                {{"Content-Type", "application/json"}});
    ASSERT_EQ(codeStep.status, 200) << codeStep.body;
    EXPECT_EQ(codeStep.Json()["userName"], "alice");
    EXPECT_EQ(admin.Get("/api/second-factor/users").body, R"({"users":[{"userName":"alice","enrolled":true}]})");
}

} // namespace
} // namespace Kyr::IntegrationTests
