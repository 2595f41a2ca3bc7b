// Directory login and the connection test against a real slapd, through PlatformServices as the
// host uses it, and the authorization service as the module asks it.
#include <filesystem>
#include <fstream>

#include "SlapdServer.h"
#include "services/ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

using E = Um::UserManagerConfigError;
using Ps::LoginOutcome;

constexpr const char* AlicePassword = "Alice-Dir-Pass-1";
constexpr const char* BobPassword = "Bob-Dir-Pass-1";
constexpr const char* ConfigObject = "kyr.services.wbm/modules/Um/UserManagerConfig";

// One slapd and one pair of CAs for all tests of the program: starting them is the slow part.
struct Directory {
    Directory()
        : trusted(folder.Path() / "trusted", "Directory Test CA"),
          untrusted(folder.Path() / "untrusted", "Unrelated Test CA"),
          slapd(trusted) {}
    TempDir folder;
    TestCertificates trusted, untrusted;
    SlapdServer slapd;
};

std::string Replace(std::string text, const std::string& what, const std::string& by) {
    std::size_t at = text.find(what);
    if (at == std::string::npos) throw std::logic_error("no " + what);
    return text.replace(at, what.size(), by);
}

struct DirectoryLogin : ServicesTest {
    static void SetUpTestSuite() { directory_ = new Directory(); }
    static void TearDownTestSuite() {
        delete directory_;
        directory_ = nullptr;
    }
    static Directory& Dir() { return *directory_; }

    DirectoryLogin() {
        for (const auto& [name, certificates] : {std::pair<const char*, const TestCertificates*>{"directory-ca", &Dir().trusted},
                                                  {"other-ca", &Dir().untrusted}}) {
            std::filesystem::create_directories(directory + "/truststores/" + name);
            std::filesystem::copy_file(certificates->caFile, directory + "/truststores/" + name + "/ca.pem");
        }
    }

    // A configuration for the test's slapd; `servers` as "server = ..." lines.
    std::string File(const std::string& servers, const std::string& extra = "",
                     const std::string& engineerGroup = "cn=engineers,ou=groups,dc=example,dc=test") {
        return servers + "trust_store = directory-ca\nconnect_timeout = 1\noperation_timeout = 1\n"
                         "user_base = ou=people,dc=example,dc=test\nuser_filter = (objectClass=inetOrgPerson)\n"
                         "bind_dn = cn=reader,dc=example,dc=test\nbind_password = Reader-Secret-1\n"
                         "group_base = ou=groups,dc=example,dc=test\n"
                         "group_role = Admin : cn=admins,ou=groups,dc=example,dc=test\n"
                         "group_role = Engineer : " + engineerGroup + "\n" + extra;
    }
    std::string Ldaps() { return "server = " + Dir().slapd.LdapsUri() + "\n"; }
    std::string StartTls() { return "server = " + Dir().slapd.LdapUri() + "\n"; }

    void Configure(const std::string& file, bool enable = true) {
        const std::string upload = (temp.Path() / "upload.conf").string();
        std::ofstream(upload, std::ios::trunc) << file;
        ASSERT_EQ(Config()->SetLdapConfigurationFromFile(upload.c_str(), false), E::NoError)
            << services->GetLdapConfigurationErrorText();
        if (enable) {
            ASSERT_EQ(Config()->EnableLdapConfiguration(true), E::NoError);
        }
    }

    Ps::LoginCheck Login(const std::string& name, const std::string& password) { return services->CheckLogin(name, password); }

    bool MayConfigure(const std::string& userName) {
        sessions.sessions["s-" + userName] = userName;
        return Authorization()->HasPermission(ConfigObject, 1, Kyr::System::Acf::SecurityToken("s-" + userName));
    }

    std::vector<std::string> StepNames(const Ps::DirectoryTestResult& result) {
        std::vector<std::string> names;
        for (const auto& step : result.steps) names.push_back(step.name + (step.succeeded ? "" : "!"));
        return names;
    }

    static Directory* directory_;
};
Directory* DirectoryLogin::directory_ = nullptr;

TEST_F(DirectoryLogin, UsersGetTheMappedRolesOverLdapsAndStartTls) {
    for (const std::string& servers : {Ldaps(), StartTls()}) {
        SCOPED_TRACE(servers);
        Configure(File(servers));
        Ps::LoginCheck alice = Login("alice", AlicePassword);
        EXPECT_EQ(alice.outcome, LoginOutcome::Success);
        EXPECT_TRUE(alice.directoryUser);
        EXPECT_FALSE(alice.isAdministrator);
        EXPECT_FALSE(alice.passwordChangeRequired);
        Ps::LoginCheck bob = Login("bob", BobPassword);
        EXPECT_EQ(bob.outcome, LoginOutcome::Success);
        EXPECT_TRUE(bob.isAdministrator);

        EXPECT_TRUE(services->UserExists("alice"));
        EXPECT_FALSE(MayConfigure("alice"));
        EXPECT_TRUE(MayConfigure("bob"));
        EXPECT_TRUE(services->IsAdministrator("bob"));
        const Ps::DirectoryStatus status = services->GetDirectoryStatus();
        EXPECT_TRUE(status.enabled && status.attempted && status.reached);
        EXPECT_EQ(status.server + "\n", servers.substr(9));
        EXPECT_EQ(status.lastError, "");
    }
}

TEST_F(DirectoryLogin, RefusedLoginsLookLikeWrongCredentials) {
    Configure(File(Ldaps()));
    struct Case { const char* why; std::string name, password; };
    const Case cases[] = {
        {"wrong password", "alice", "Alice-Dir-Pass-2"},
        {"empty password", "alice", ""},
        {"unknown user", "dave", AlicePassword},
        {"no mapped group", "carol", "Carol-Dir-Pass-1"},
        {"the service account is not a user", "reader", "Reader-Secret-1"},
        // Filter characters in the name match themselves only: none of these may find alice.
        {"wildcard", "al*", AlicePassword},
        {"lone wildcard", "*", AlicePassword},
        {"closing the filter", "alice)(uid=*", AlicePassword},
        {"alternative", "*)(|(uid=alice", AlicePassword},
        {"backslash", "alice\\", AlicePassword},
        {"escaped star", "al\\2a", AlicePassword},
        {"NUL cuts the name", std::string("alice\0x", 7), AlicePassword},
    };
    for (const Case& c : cases) {
        Ps::LoginCheck check = Login(c.name, c.password);
        EXPECT_EQ(check.outcome, LoginOutcome::WrongCredentials) << c.why;
        EXPECT_FALSE(services->UserExists(c.name)) << c.why;
    }
    EXPECT_EQ(services->GetDirectoryStatus().lastError, "") << "a refused login is no directory fault";
}

TEST_F(DirectoryLogin, RoleMappingChangesTakeEffectAtTheNextLogin) {
    Configure(File(Ldaps()));
    ASSERT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::Success);
    EXPECT_FALSE(MayConfigure("alice"));

    // The administrator maps alice's group to "Admin".
    Configure(File(Ldaps(), "group_role = Admin : CN=Engineers, OU=groups,DC=example,DC=test\n"));
    EXPECT_FALSE(MayConfigure("alice")) << "roles are read at the login";
    EXPECT_TRUE(Login("alice", AlicePassword).isAdministrator);
    EXPECT_TRUE(MayConfigure("alice"));

    // Her group no longer maps to any role: the next login is refused and her roles go.
    Configure(File(Ldaps(), "", "cn=nobody,ou=groups,dc=example,dc=test"));
    EXPECT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::WrongCredentials);
    EXPECT_FALSE(services->UserExists("alice"));
    EXPECT_FALSE(MayConfigure("alice"));
}

TEST_F(DirectoryLogin, DirectoryUsersHaveNoDevicePassword) {
    Configure(File(Ldaps()));
    ASSERT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::Success);
    EXPECT_TRUE(services->IsDirectoryUser("alice"));
    EXPECT_FALSE(services->IsDirectoryUser("admin"));
    for (const auto& user : Users()->GetUsers()) EXPECT_NE(user.ToString(), "alice") << "only the device's own users are listed";
    EXPECT_FALSE(services->IsPasswordChangeRequired("alice"));

    sessions.sessions["s-alice"] = "alice";
    Um::Internal::UserPasswordInfo info;
    ASSERT_TRUE(Users()->GetPasswordInfoBySecurityToken(Kyr::System::Acf::SecurityToken("s-alice"), info));
    EXPECT_EQ(info.userName.ToString(), "alice");
    EXPECT_FALSE(Users()->ChangeUserPassword("alice", AlicePassword, "New-Alice-Pass-2"));
    EXPECT_EQ(LastError(), "A directory user's password is changed in the directory, not on the device.");

    // Switching directory login off takes the directory users' roles away at once.
    ASSERT_EQ(Config()->EnableLdapConfiguration(false), E::NoError);
    EXPECT_FALSE(services->UserExists("alice"));
    EXPECT_FALSE(MayConfigure("alice"));
    EXPECT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::WrongCredentials);
}

TEST_F(DirectoryLogin, LocalUsersWinOverDirectoryUsers) {
    Configure(File(Ldaps()));
    ASSERT_TRUE(Users()->AddUser("alice", "Local-Pass-7x"));
    EXPECT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::WrongCredentials);
    Ps::LoginCheck local = Login("alice", "Local-Pass-7x");
    EXPECT_EQ(local.outcome, LoginOutcome::Success);
    EXPECT_FALSE(local.directoryUser);
    EXPECT_FALSE(services->IsDirectoryUser("alice"));
    EXPECT_TRUE(local.passwordChangeRequired);
    EXPECT_FALSE(services->GetDirectoryStatus().attempted) << "the directory was never asked";
}

TEST_F(DirectoryLogin, UntrustedCertificateIsRefused) {
    for (const std::string& servers : {Ldaps(), StartTls()}) {
        SCOPED_TRACE(servers);
        Configure(Replace(File(servers), "trust_store = directory-ca", "trust_store = other-ca"));
        EXPECT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::WrongCredentials);
        const Ps::DirectoryStatus status = services->GetDirectoryStatus();
        EXPECT_FALSE(status.reached);
        EXPECT_NE(status.lastError.find("certificate"), std::string::npos) << status.lastError;
        EXPECT_EQ(StepNames(services->TestDirectoryConnection(std::nullopt, std::nullopt)),
                  (std::vector<std::string>{"connect", "tls!"}));
    }
}

TEST_F(DirectoryLogin, StoppedOrSilentServersFailTheDirectoryLoginOnly) {
    auto server = std::make_unique<SlapdServer>(Dir().trusted);
    Configure(File("server = " + server->LdapsUri() + "\n"));
    ASSERT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::Success);
    server->Stop();

    EXPECT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::WrongCredentials);
    EXPECT_EQ(Login("admin", AdminPassword).outcome, LoginOutcome::Success) << "the local administrator still logs in";
    Ps::DirectoryStatus status = services->GetDirectoryStatus();
    EXPECT_FALSE(status.reached);
    EXPECT_NE(status.lastError.find("cannot reach the server"), std::string::npos) << status.lastError;

    // A server that accepts connections but never answers costs the timeouts, then fails.
    SilentListener silent;
    for (const char* scheme : {"ldaps", "ldap"}) {
        Configure(File("server = " + silent.Uri(scheme) + "\n"));
        EXPECT_EQ(Login("alice", AlicePassword).outcome, LoginOutcome::WrongCredentials) << scheme;
        EXPECT_NE(services->GetDirectoryStatus().lastError, "") << scheme;
    }
}

TEST_F(DirectoryLogin, ServersAreTriedInOrder) {
    const std::string closed = "server = ldaps://127.0.0.1:" + std::to_string(ClosedPort()) + "\n";
    Configure(File(closed + Ldaps()));
    EXPECT_EQ(Login("bob", BobPassword).outcome, LoginOutcome::Success);
    EXPECT_EQ(services->GetDirectoryStatus().server, Dir().slapd.LdapsUri());
    // A server that answers is the answer: a wrong password is not tried at the next one.
    Configure(File(Ldaps() + closed));
    EXPECT_EQ(Login("bob", "Bob-Dir-Pass-2").outcome, LoginOutcome::WrongCredentials);
    EXPECT_EQ(services->GetDirectoryStatus().server, Dir().slapd.LdapsUri());
}

TEST_F(DirectoryLogin, ConnectionTestReportsEachStepAndTheFirstFailure) {
    Configure(File(StartTls()), false);
    Ps::DirectoryTestResult connection = services->TestDirectoryConnection(std::nullopt, std::nullopt);
    EXPECT_TRUE(connection.succeeded);
    EXPECT_EQ(StepNames(connection), (std::vector<std::string>{"connect", "tls", "serviceBind"}));
    EXPECT_NE(connection.steps[1].detail.find("CN=127.0.0.1"), std::string::npos) << connection.steps[1].detail;

    Ps::DirectoryTestResult alice = services->TestDirectoryConnection(std::string("alice"), std::string(AlicePassword));
    EXPECT_TRUE(alice.succeeded);
    EXPECT_EQ(StepNames(alice), (std::vector<std::string>{"connect", "tls", "serviceBind", "userSearch", "userBind", "groups", "roles"}));
    EXPECT_EQ(alice.steps[3].detail, "uid=alice,ou=people,dc=example,dc=test");
    EXPECT_EQ(alice.steps[5].detail, "cn=engineers,ou=groups,dc=example,dc=test");
    EXPECT_EQ(alice.steps[6].detail, "Engineer");
    EXPECT_FALSE(services->UserExists("alice")) << "a test logs no one in";

    struct Case { std::optional<std::string> name, password; std::vector<std::string> steps; };
    const Case cases[] = {
        {"dave", "x", {"connect", "tls", "serviceBind", "userSearch!"}},
        {"alice", "wrong", {"connect", "tls", "serviceBind", "userSearch", "userBind!"}},
        {"alice", std::nullopt, {"connect", "tls", "serviceBind", "userSearch", "userBind!"}},
        {"carol", "Carol-Dir-Pass-1", {"connect", "tls", "serviceBind", "userSearch", "userBind", "groups", "roles!"}},
    };
    for (const Case& c : cases) {
        Ps::DirectoryTestResult result = services->TestDirectoryConnection(c.name, c.password);
        EXPECT_FALSE(result.succeeded) << *c.name;
        EXPECT_EQ(StepNames(result), c.steps) << *c.name;
    }

    Configure(Replace(File(StartTls()), "bind_password = Reader-Secret-1", "bind_password = Wrong-Reader-9"), false);
    Ps::DirectoryTestResult refused = services->TestDirectoryConnection(std::nullopt, std::nullopt);
    EXPECT_EQ(StepNames(refused), (std::vector<std::string>{"connect", "tls", "serviceBind!"}));
    EXPECT_NE(refused.steps.back().detail.find("check bind_dn and bind_password"), std::string::npos);
    EXPECT_EQ(refused.steps.back().detail.find("Wrong-Reader-9"), std::string::npos) << "never the password";
}

} // namespace
} // namespace Kyr::Testing
