// The set-up backup of the three policy areas and its restore after a failing set-request.
#include "PolicyTestSupport.h"

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
        EXPECT_CALL(config, SetSessionPolicyParameter(IsSessionPolicy(setupTimeout)));
        EXPECT_CALL(config, SetActivePasswordsBlockList(setupBlockList));
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

TEST_F(BackupRestore, FailedSetRestoresTheOtherChangesAndClearsItsOwnFlag) {
    handler.InitializeBackups();
    ChangeEverything();
    defaultWrite = Error::WarningDaysNotBelowExpirationDays;
    InSequence order;
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", 50)));
    EXPECT_CALL(config, SetDefaultRoleRuleset(_)); // fails, so the default ruleset is not put back
    EXPECT_CALL(config, SetSessionPolicyParameter(IsSessionPolicy(setupTimeout)));
    EXPECT_CALL(config, SetActivePasswordsBlockList(setupBlockList));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
    EXPECT_EQ(Call("SetPasswordRoleRulesets", newRulesets), Answer(true, "WarningDaysNotBelowExpirationDays", "false"));
    EXPECT_TRUE(log.Contains("Failed to set default password role ruleset. Error: WarningDaysNotBelowExpirationDays", 3));
}

TEST_F(BackupRestore, BackupErrorRefusesEveryRestoreAndIsNotRetried) {
    const std::vector<std::pair<Error*, String>> cases = { // the step made to fail (none: no service at set-up), its line
        {nullptr, "Failed to backup user manager configuration!"},
        {&sessionRead, "Failed to backup Session Policy Parameter with error: DatabaseError"},
        {&defaultRead, "Failed to get active default role ruleset: Error: DatabaseError"}, // the getter's line, shared
    };
    for (const auto& [failing, logged] : cases) {
        SCOPED_TRACE(logged);
        UmHandler fresh;
        if (failing) fresh.SubscribeServices(), *failing = Error::DatabaseError;
        fresh.InitializeBackups();
        EXPECT_TRUE(log.Contains(logged, 3));
        EXPECT_TRUE(log.Contains("Failed to backup user manager configuration!", 3));

        if (failing) *failing = Error::NoError; // the service is healthy again
        fresh.SubscribeServices();
        EXPECT_CALL(config, GetSessionPolicyParameter(_)).Times(0);
        fresh.InitializeBackups();
        EXPECT_EQ(CallOn(fresh, "SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
        ExpectNoSet();
        log.Clear();
        // The refused restore keeps the flag.
        EXPECT_EQ(CallOn(fresh, "SetSessionPolicyConfig", refusedSession), Answer(true, "Invalid Request!", "true"));
        EXPECT_TRUE(log.Contains("Failed to restore UM config backup. a backup error was occurred", 3));
        Mock::VerifyAndClearExpectations(&config);
    }
}

// A second set-up replaces the session policy and block list backups, but the rulesets are only
// appended, so the first pair found by name wins; an admin ruleset not named "admin" is never found.
TEST_F(BackupRestore, SecondSetupAndRulesetsNotFoundByName) {
    ON_CALL(config, GetActiveAdminRoleRuleset(_)).WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("administrators", 9)), Return(Error::NoError)));
    handler.InitializeBackups();
    SessionPolicyParameter session;
    session.timeoutInitialSeconds = 222;
    ON_CALL(config, GetSessionPolicyParameter(_)).WillByDefault(DoAll(SetArgReferee<0>(session), Return(Error::NoError)));
    ON_CALL(config, GetActivePasswordsBlockList(_)).WillByDefault(DoAll(SetArgReferee<0>(BlockList{"second"}), Return(Error::NoError)));
    ON_CALL(config, GetActiveDefaultRoleRuleset(_)).WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("default", 66)), Return(Error::NoError)));
    handler.InitializeBackups();
    ChangeEverything();

    EXPECT_CALL(config, SetSessionPolicyParameter(Field(&SessionPolicyParameter::timeoutInitialSeconds, 222u)));
    EXPECT_CALL(config, SetActivePasswordsBlockList(BlockList{"second"}));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("", 0)));
    EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", setupDefaultMinChars)));
    Call("SetSessionPolicyConfig", refusedSession);
}

} // namespace
