// The set-up backup of the three policy areas and its restore after a failing set-request.
#include "PolicyTestSupport.h"

#include <functional>

namespace {

using namespace testing;
using namespace PolicyTests;
using Error = UserManagerConfigError;

// A failing request that itself sends nothing to the service.
const String refusedSession = "{}";
const String newRulesets = RulesetsBody({RulesetJson("admin", 50), RulesetJson("default", 60)});

struct BackupRestore : PolicyHandler {
    void ChangeEverything() {
        ASSERT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
        ASSERT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["new"]})"), Answer(false, "", "true"));
        ASSERT_EQ(Call("SetPasswordRoleRulesets", newRulesets), Answer(false, "", "true"));
    }
    void ExpectNoSet() {
        EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(0);
        EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
        EXPECT_CALL(config, SetAdminRoleRuleset(_)).Times(0);
        EXPECT_CALL(config, SetDefaultRoleRuleset(_)).Times(0);
    }
};

TEST_F(BackupRestore, FailingRequestPutsBackEveryChangedAreaOnceInFixedOrder) {
    handler.InitializeBackups();
    EXPECT_TRUE(log.Contains("User manager configuration backuped", 7));
    ChangeEverything();
    {
        InSequence order;
        // A refused block list is still sent, as an empty list, and then restored with the rest.
        EXPECT_CALL(config, SetActivePasswordsBlockList(IsEmpty()));
        EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(setupTimeout)));
        EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(setupBlockList)));
        EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
        EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", setupDefaultMinChars)));
    }
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":[1]})"), Answer(true, "Invalid Request!", "false"));
    for (const char* line : {"Restoring session policy config...", "Restoring active password blocklist...",
                             "Restoring admin password role ruleset...", "Restoring default password role ruleset..."})
        EXPECT_TRUE(log.Contains(line, 7)) << line;
    Mock::VerifyAndClearExpectations(&config);

    ExpectNoSet(); // the flags were cleared
    EXPECT_EQ(Call("SetSessionPolicyConfig", refusedSession), Answer(true, "Invalid Request!", "false"));
}

TEST_F(BackupRestore, FailedSetClearsItsOwnFlagOnly) {
    handler.InitializeBackups();
    ASSERT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).WillOnce(Return(Error::InvalidBlockListEntry));
    EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(setupTimeout)));
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["x"]})"), Answer(true, "InvalidBlockListEntry", "false"));
}

TEST_F(BackupRestore, FailedDefaultRulesetPutsTheAdminRulesetBack) {
    handler.InitializeBackups();
    InSequence order;
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", 50)));
    EXPECT_CALL(config, SetDefaultRoleRuleset(_)).WillOnce(Return(Error::WarningDaysNotBelowExpirationDays));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
    EXPECT_EQ(Call("SetPasswordRoleRulesets", newRulesets), Answer(true, "WarningDaysNotBelowExpirationDays", "false"));
}

TEST_F(BackupRestore, BackupErrorRefusesEveryRestoreAndIsNotRetried) {
    struct Case {
        std::function<void()> breakStep; // empty: the service was not there at set-up
        String logged;
    };
    const std::vector<Case> cases = {
        {nullptr, "Failed to backup user manager configuration!"},
        {[&] { ON_CALL(config, GetSessionPolicyParameter(_)).WillByDefault(Return(Error::DatabaseError)); },
         "Failed to backup Session Policy Parameter with error: DatabaseError"},
        // The getter's log line, shared.
        {[&] { ON_CALL(config, GetActiveDefaultRoleRuleset(_)).WillByDefault(Return(Error::NotFound)); },
         "Failed to get active default role ruleset: Error: NotFound"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.logged);
        UmHandler fresh;
        if (c.breakStep) {
            fresh.SubscribeServices();
            c.breakStep();
        }
        fresh.InitializeBackups();
        EXPECT_TRUE(log.Contains(c.logged, 3));
        EXPECT_TRUE(log.Contains("Failed to backup user manager configuration!", 3));

        Mock::VerifyAndClear(&config); // the service is healthy again
        fresh.SubscribeServices();
        EXPECT_CALL(config, GetSessionPolicyParameter(_)).Times(0);
        fresh.InitializeBackups();
        EXPECT_EQ(CallOn(fresh, "SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
        log.Clear();
        ExpectNoSet();
        EXPECT_EQ(CallOn(fresh, "SetSessionPolicyConfig", refusedSession), Answer(true, "Invalid Request!", "true"));
        EXPECT_TRUE(log.Contains("Failed to restore UM config backup. a backup error was occurred", 3));
        Mock::VerifyAndClearExpectations(&config);
    }
}

TEST_F(BackupRestore, AdminRulesetOfAnotherNameIsRestoredAsAnEmptyRuleset) {
    ON_CALL(config, GetActiveAdminRoleRuleset(_)).WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("administrators", 9)), Return(Error::NoError)));
    handler.InitializeBackups();
    ASSERT_EQ(Call("SetPasswordRoleRulesets", newRulesets), Answer(false, "", "true"));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("", 0)));
    EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", setupDefaultMinChars)));
    Call("SetSessionPolicyConfig", refusedSession);
}

TEST_F(BackupRestore, SecondSetupReplacesSessionPolicyAndBlockListButTheFirstRulesetsWin) {
    handler.InitializeBackups();
    Kyr::System::Um::Services::Internal::SessionPolicyParameter session;
    session.timeoutInitialSeconds = 222;
    ON_CALL(config, GetSessionPolicyParameter(_)).WillByDefault(DoAll(SetArgReferee<0>(session), Return(Error::NoError)));
    ON_CALL(config, GetActivePasswordsBlockList(_)).WillByDefault(DoAll(SetArgReferee<0>(BlockList{"second"}), Return(Error::NoError)));
    ON_CALL(config, GetActiveAdminRoleRuleset(_)).WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("admin", 77)), Return(Error::NoError)));
    handler.InitializeBackups();
    ChangeEverything();

    EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(222)));
    EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(std::vector<String>{"second"})));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
    Call("SetSessionPolicyConfig", refusedSession);
}

} // namespace
