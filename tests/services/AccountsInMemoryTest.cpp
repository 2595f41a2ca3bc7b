// The per-request reads (users, roles, permissions, password ages, session policy, login requirement)
// are answered from memory: they must see each committed change at once (nothing of a refused one:
// UserManagementServiceTest.cpp), and must not wait while a write holds the database.
#include <atomic>
#include <functional>
#include <thread>

#include "ServicesTestSupport.h"
#include "Sqlite.h"

namespace Kyr::Testing {
namespace {

using namespace std::chrono_literals;

class AccountsInMemory : public ServicesTest {
protected:
    // Role changes end the user's sessions: the session is made again for each check.
    bool HasPermission(const std::string& session, const char* object, const char* user = "eve") {
        sessions.sessions[session] = user;
        return Authorization()->HasPermission(object, 1, Kyr::System::Acf::SecurityToken(session));
    }
};

TEST_F(AccountsInMemory, ReadsSeeEachCommittedChangeAtOnce) {
    struct Step {
        const char* what;
        std::function<bool()> change;
        std::function<bool()> seen;
    };
    const char* usersObject = "kyr.services.wbm/configuration";
    const Step steps[] = {
        {"added user", [&] { return Users()->AddUser("eve", "Tulip-pass-1"); }, [&] { return services->UserExists("eve"); }},
        {"initial password", [] { return true; }, [&] { return services->IsPasswordChangeRequired("eve"); }},
        {"own change", [&] { return Users()->ChangeUserPassword("eve", "Tulip-pass-1", "Daisy-pass-22"); },
         [&] { return !services->IsPasswordChangeRequired("eve"); }},
        {"shorter expiry in the ruleset",
         [&] {
             Advance(std::chrono::hours(24 * 3));
             ChangeDefaultRuleset([](Um::Internal::Roleruleset& ruleset) {
                 ruleset.expirationPolicy.policyActive = true;
                 ruleset.expirationPolicy.daysToExpiration = 2;
                 ruleset.expirationPolicy.daysToWarning = 1;
             });
             return true;
         },
         [&] { return services->IsPasswordChangeRequired("eve"); }},
        {"admin role", [&] { return Users()->SetUserRoles("eve", {"Admin"}); },
         [&] { return services->IsAdministrator("eve") && HasPermission("s-eve", usersObject); }},
        {"admin ruleset", [&] { return Users()->SetAdminRuleset("eve", true); }, [&] { return Users()->HasAdminRuleset("eve"); }},
        {"roles taken", [&] { return Users()->SetUserRoles("eve", {}); },
         [&] { return !services->IsAdministrator("eve") && !HasPermission("s-eve", usersObject); }},
        {"session policy",
         [&] {
             Um::Internal::SessionPolicyParameter policy;
             Config()->GetSessionPolicyParameter(policy);
             policy.maxSessionTimeMinutes = 7;
             return Config()->SetSessionPolicyParameter(policy) == Um::UserManagerConfigError::NoError;
         },
         [&] { return services->GetSessionPolicy().maxSessionTimeMinutes == 7; }},
        {"removed user", [&] { return Users()->RemoveUser("eve"); }, [&] { return !services->UserExists("eve"); }},
    };
    for (const Step& step : steps) {
        ASSERT_TRUE(step.change()) << step.what << ": " << LastError();
        EXPECT_TRUE(step.seen()) << step.what;
    }
}

TEST_F(AccountsInMemory, ReadsDoNotWaitForAWriteHoldingTheDatabase) {
    // Another connection holds the write lock, so the services' next write waits inside its
    // transaction (holding the services' own database lock) until it is released.
    Ps::Database other(directory + "/users.db");
    other.Execute("BEGIN IMMEDIATE");
    std::atomic<bool> writeDone{false};
    std::thread writer([&] {
        Users()->AddUser("late", "Tulip-pass-1");
        writeDone = true;
    });
    std::this_thread::sleep_for(100ms); // lets the writer reach its transaction; the check below holds either way

    EXPECT_TRUE(services->UserExists("admin"));
    EXPECT_TRUE(services->IsAdministrator("admin"));
    EXPECT_TRUE(services->IsPasswordChangeRequired("admin"));
    EXPECT_TRUE(services->IsAuthenticationRequired());
    EXPECT_EQ(services->GetSessionPolicy().maxConcurrentSessionsCount, 5u);
    EXPECT_EQ(Users()->GetUsers().size(), 1u);
    EXPECT_TRUE(HasPermission("s1", "kyr.services.wbm/configuration", "admin"));
    EXPECT_FALSE(writeDone) << "the reads above were answered while the write still waited";

    other.Execute("COMMIT");
    writer.join();
    EXPECT_TRUE(services->UserExists("late"));
}

} // namespace
} // namespace Kyr::Testing
