#include <atomic>
#include <thread>

#include "ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

using namespace std::chrono_literals;
using Um::UserPasswordState;
using Um::Internal::UserPasswordInfo;

std::vector<std::string> Names(const std::vector<Kyr::System::Rsc::RscString<64>>& list) {
    std::vector<std::string> names;
    for (const auto& entry : list) names.push_back(entry.ToString());
    return names;
}

UserPasswordInfo InfoOf(Um::IUserManagementService& users, const std::string& name) {
    std::vector<UserPasswordInfo> infos;
    EXPECT_TRUE(users.GetAllUsersPasswordInfo(infos));
    for (const auto& info : infos)
        if (info.userName.ToString() == name) return info;
    ADD_FAILURE() << "no info for " << name;
    return {};
}

class UserManagement : public ServicesTest {};

TEST_F(UserManagement, FirstStartCreatesAnAdministratorWhoMustChangeThePassword) {
    EXPECT_EQ(services->GetInitialAdminPassword(), std::optional<String>(AdminPassword));
    EXPECT_EQ(Names(Users()->GetUsers()), std::vector<std::string>{"admin"});
    EXPECT_EQ(Names(Users()->GetUserRoles("admin")), std::vector<std::string>{"Admin"});
    EXPECT_TRUE(Users()->HasAdminRuleset("admin"));

    Ps::LoginCheck check = services->CheckLogin("admin", AdminPassword);
    EXPECT_EQ(check.outcome, Ps::LoginOutcome::Success);
    EXPECT_TRUE(check.isAdministrator);
    EXPECT_TRUE(check.passwordChangeRequired); // the change itself and wrong logins: integration/LoginTest.cpp
}

TEST_F(UserManagement, ALoginStoresThePasswordAgainAtAChangedHashCost) {
    hashOpsLimit += 1;
    Open();
    for (int i = 0; i < 2; ++i) // the second check runs against the new hash
        EXPECT_EQ(services->CheckLogin("admin", AdminPassword).outcome, Ps::LoginOutcome::Success) << i;
    EXPECT_EQ(services->CheckLogin("admin", "wrong").outcome, Ps::LoginOutcome::WrongCredentials);
}

TEST_F(UserManagement, UserNamesAreValidated) {
    const char* refused[] = {"", "has/slash", "co:lon", "tab\there", " padded", "Unauthenticated", "ADMIN"};
    for (const char* name : refused) EXPECT_FALSE(Users()->AddUser(name, "Valid-pass-1")) << name;
    EXPECT_EQ(LastError(), "User already exists."); // "ADMIN" differs from "admin" only in case
    EXPECT_TRUE(Users()->AddUser(std::string(63, 'n'), "Valid-pass-1"));
    EXPECT_TRUE(Users()->AddUser("J\xC3\xBCrgen", "Valid-pass-1"));
}

TEST_F(UserManagement, NewPasswordsFollowTheUsersRuleset) {
    // The default ruleset: 8 characters, upper and lower case, a digit, no user name, block list.
    EXPECT_FALSE(Users()->AddUser("bob", "short"));
    EXPECT_EQ(LastError(), "Too short: min 8 chars. Needs 1 upper + 1 lower case. Needs 1 digit.");
    EXPECT_FALSE(Users()->AddUser("bobby", "Xbobby123"));
    EXPECT_EQ(LastError(), "Contains user name.");
    EXPECT_FALSE(Users()->AddUser("bob", "PASSWORD1"));
    EXPECT_EQ(LastError(), "Needs 1 upper + 1 lower case. On block list."); // "password1", case ignored

    ASSERT_TRUE(Users()->AddUser("bob", "Tulip-pass-1"));
    // With the admin ruleset (12 characters, a symbol) the same kind of password is refused.
    ASSERT_TRUE(Users()->SetAdminRuleset("bob", true));
    EXPECT_FALSE(Users()->SetUserPassword("bob", "Kitpass12"));
    EXPECT_EQ(LastError(), "Too short: min 12 chars. Needs 1 symbol.");
    EXPECT_FALSE(Users()->SetUserPassword("bob", "Password123!"));
    EXPECT_EQ(LastError(), "On block list.");
}

TEST_F(UserManagement, OwnChangeChecksCurrentPasswordAndReuse) {
    ASSERT_TRUE(Users()->AddUser("dave", "Tulip-pass-1"));
    EXPECT_FALSE(Users()->ChangeUserPassword("dave", "Tulip-pass-X", "Tulip-pass-2"));
    EXPECT_EQ(LastError(), "Current password is wrong.");
    EXPECT_FALSE(Users()->ChangeUserPassword("dave", "Tulip-pass-1", "Tulip-pass-1"));
    EXPECT_EQ(LastError(), "Used in last 3 passwords.");

    // The default ruleset remembers 3 generations, the current one included.
    const char* sequence[] = {"Tulip-pass-1", "Tulip-pass-2", "Tulip-pass-3", "Tulip-pass-4"};
    for (int i = 1; i < 4; ++i) ASSERT_TRUE(Users()->ChangeUserPassword("dave", sequence[i - 1], sequence[i]));
    EXPECT_FALSE(Users()->ChangeUserPassword("dave", "Tulip-pass-4", "Tulip-pass-2"));
    EXPECT_EQ(LastError(), "Used in last 3 passwords.");
    EXPECT_TRUE(Users()->ChangeUserPassword("dave", "Tulip-pass-4", "Tulip-pass-1")); // four generations back

    // Without the rule, only the current password is refused.
    ChangeDefaultRuleset([](auto& r) { r.passwordPolicy.blockReusedPasswords = false; });
    EXPECT_TRUE(Users()->ChangeUserPassword("dave", "Tulip-pass-1", "Tulip-pass-2"));
    EXPECT_FALSE(Users()->ChangeUserPassword("dave", "Tulip-pass-2", "Tulip-pass-2"));
    EXPECT_EQ(LastError(), "Same as current password.");
}

TEST_F(UserManagement, OwnChangesAreLimitedPerInterval) {
    ChangeDefaultRuleset([](auto& r) {
        auto& p = r.passwordPolicy;
        p.blockReusedPasswords = false;
        p.checkPwChangableInterval = true;
        p.allowedPasswordChanges = 2;
        p.intervalCount = 1;
        p.intervalType = Um::PasswordPolicyInterval::Day;
    });
    ASSERT_TRUE(Users()->AddUser("fred", "Tulip-pass-1"));
    // The change away from the initial password is required, so it is never refused for the limit.
    ASSERT_TRUE(Users()->ChangeUserPassword("fred", "Tulip-pass-1", "Tulip-pass-2"));
    ASSERT_TRUE(Users()->ChangeUserPassword("fred", "Tulip-pass-2", "Tulip-pass-3"));
    ASSERT_TRUE(Users()->ChangeUserPassword("fred", "Tulip-pass-3", "Tulip-pass-4"));
    EXPECT_FALSE(Users()->ChangeUserPassword("fred", "Tulip-pass-4", "Tulip-pass-5"));
    EXPECT_EQ(LastError(), "Max 2 changes per day.");
    Advance(24h);
    EXPECT_TRUE(Users()->ChangeUserPassword("fred", "Tulip-pass-4", "Tulip-pass-5"));
    EXPECT_TRUE(Users()->ChangeUserPassword("fred", "Tulip-pass-5", "Tulip-pass-6"));
    // An administrator's reset is not limited, and it makes the user choose a new password again.
    EXPECT_FALSE(services->IsPasswordChangeRequired("fred"));
    EXPECT_TRUE(Users()->SetUserPassword("fred", "Tulip-pass-7"));
    EXPECT_TRUE(InfoOf(*Users(), "fred").isUsingInitialPassword);
}

TEST_F(UserManagement, PasswordsAgeIntoWarningExpiryAndLock) {
    ChangeDefaultRuleset([](auto& r) {
        r.expirationPolicy = {};
        r.expirationPolicy.policyActive = true;
        r.expirationPolicy.daysToExpiration = 10;
        r.expirationPolicy.daysToWarning = 3;
    });
    ASSERT_TRUE(Users()->AddUser("gina", "Tulip-pass-1"));
    ASSERT_TRUE(Users()->ChangeUserPassword("gina", "Tulip-pass-1", "Tulip-pass-2"));

    struct Step { std::chrono::seconds advance; UserPasswordState state; std::uint64_t left; };
    const Step steps[] = {{7 * 24h - 1s, UserPasswordState::Valid, 3 * 86400 + 1},
                          {1s, UserPasswordState::ExpiresSoon, 3 * 86400},
                          {3 * 24h - 1s, UserPasswordState::ExpiresSoon, 1},
                          {1s, UserPasswordState::Expired, 0}};
    for (const Step& step : steps) {
        Advance(step.advance);
        UserPasswordInfo info = InfoOf(*Users(), "gina");
        EXPECT_EQ(info.passwordState, step.state);
        EXPECT_EQ(info.timeToExpire, step.left);
    }
    Ps::LoginCheck expired = services->CheckLogin("gina", "Tulip-pass-2");
    EXPECT_EQ(expired.outcome, Ps::LoginOutcome::Success);
    EXPECT_TRUE(expired.passwordChangeRequired);

    ChangeDefaultRuleset([](auto& r) { r.expirationPolicy.lockUserActive = true; });
    EXPECT_EQ(InfoOf(*Users(), "gina").passwordState, UserPasswordState::Locked);
    EXPECT_EQ(services->CheckLogin("gina", "Tulip-pass-2").outcome, Ps::LoginOutcome::Locked);
    // A wrong password does not learn that the account is locked.
    EXPECT_EQ(services->CheckLogin("gina", "Tulip-pass-9").outcome, Ps::LoginOutcome::WrongCredentials);
    // An administrator's new password starts a new age.
    ASSERT_TRUE(Users()->SetUserPassword("gina", "Tulip-pass-3"));
    EXPECT_EQ(services->CheckLogin("gina", "Tulip-pass-3").outcome, Ps::LoginOutcome::Success);
}

TEST_F(UserManagement, TheLastAdministratorStaysAndRolesMustExist) {
    EXPECT_FALSE(Users()->RemoveUser("admin"));
    EXPECT_EQ(LastError(), "The last administrator cannot be removed.");
    EXPECT_FALSE(Users()->SetUserRoles("admin", {"Operator"}));
    EXPECT_EQ(LastError(), "The last administrator must keep the role Admin.");
    EXPECT_TRUE(services->IsAdministrator("admin")) << "the reads answered from memory keep the refused role";

    ASSERT_TRUE(Users()->AddUser("henry", "Tulip-pass-1"));
    ASSERT_TRUE(Users()->SetUserRoles("henry", {"Admin", "Operator", "Admin"}));
    EXPECT_EQ(Names(Users()->GetUserRoles("henry")), (std::vector<std::string>{"Admin", "Operator"}));
    EXPECT_TRUE(Users()->SetUserRoles("admin", {}));
    EXPECT_FALSE(Users()->RemoveUser("henry"));
    EXPECT_TRUE(Users()->RemoveUser("admin"));
    EXPECT_FALSE(services->UserExists("admin"));

    // Roles must exist; "Unauthenticated" is for callers without login. Nothing is stored then.
    EXPECT_FALSE(Users()->SetUserRoles("henry", {"Operator", "Wizard"}));
    EXPECT_EQ(LastError(), "Unknown role: Wizard");
    EXPECT_FALSE(Users()->SetUserRoles("henry", {"Admin", "Unauthenticated"}));
    EXPECT_EQ(Names(Users()->GetUserRoles("henry")), (std::vector<std::string>{"Admin", "Operator"}));
    EXPECT_TRUE(services->IsAdministrator("henry"));
}

TEST_F(UserManagement, AuthenticationCanOnlyBeSwitchedOffWhereAllowed) {
    EXPECT_TRUE(Users()->GetAuthenticationRequired());
    EXPECT_FALSE(Users()->GetAuthenticationDeactivatable());
    EXPECT_FALSE(Users()->SetAuthenticationRequired(false));
    EXPECT_TRUE(services->IsAuthenticationRequired());

    Open(true);
    EXPECT_TRUE(Users()->SetAuthenticationRequired(false));
    EXPECT_FALSE(services->IsAuthenticationRequired());
    Open(false); // the option withdrawn: authentication is required again whatever was stored
    EXPECT_TRUE(Users()->GetAuthenticationRequired());
}

TEST_F(UserManagement, PasswordInfoBySessionOfTheCaller) {
    sessions.sessions["s1"] = "admin";
    UserPasswordInfo info;
    ASSERT_TRUE(Users()->GetPasswordInfoBySecurityToken(Kyr::System::Acf::SecurityToken("s1"), info));
    EXPECT_EQ(info.userName.ToString(), "admin");
    EXPECT_TRUE(info.isUsingInitialPassword);
    EXPECT_FALSE(Users()->GetPasswordInfoBySecurityToken(Kyr::System::Acf::SecurityToken("gone"), info));
    EXPECT_FALSE(Users()->GetPasswordInfoBySecurityToken(Kyr::System::Acf::SecurityToken(), info));
}

TEST_F(UserManagement, LastErrorTextBelongsToTheCallingThread) {
    EXPECT_FALSE(Users()->RemoveUser("nobody"));
    std::string other;
    std::thread([&] {
        EXPECT_FALSE(Users()->AddUser("bad/name", "Valid-pass-1"));
        other = LastError();
    }).join();
    EXPECT_EQ(other, "Invalid user name.");
    EXPECT_EQ(LastError(), "User not found.");
}

TEST_F(UserManagement, ConcurrentCallersShareTheDatabaseSafely) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (const std::string name : {"worker0", "worker1", "worker2", "worker3"})
        threads.emplace_back([&, name] {
            failures += !(Users()->AddUser(name, "Tulip-pass-1") && Users()->ChangeUserPassword(name, "Tulip-pass-1", "Tulip-pass-2") &&
                          services->CheckLogin(name, "Tulip-pass-2").outcome == Ps::LoginOutcome::Success);
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(Users()->GetUsers().size(), 5u);
}

} // namespace
} // namespace Kyr::Testing
