// The set-up backup of the three policy areas and its restore after a failing set-request.
#include "PolicyHandlerFixture.h"

namespace {

using namespace testing;
using namespace PolicyTests;
using Error = UserManagerConfigError;

const String invalidBlockList = R"({"passwordsBlockList":[1]})";

struct BackupRestore : PolicyHandler {
    // Changes all four areas successfully.
    void ChangeEverything() {
        ASSERT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
        ASSERT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["new"]})"), Answer(false, "", "true"));
        ASSERT_EQ(Call("SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 50), RulesetJson("default", 60)})),
                  Answer(false, "", "true"));
    }
};

TEST_F(BackupRestore, FailingRequestPutsBackEveryChangedAreaInFixedOrder) {
    handler.InitializeBackups();
    EXPECT_TRUE(log.Contains("User manager configuration backuped", 7));
    ChangeEverything();
    {
        InSequence order;
        EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(setupTimeout)));
        EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(setupBlockList)));
        EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
        EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", setupDefaultMinChars)));
    }
    EXPECT_EQ(Call("SetPasswordBlockList", invalidBlockList), Answer(true, "Invalid Request!", "false"));
    for (const char* line : {"Restoring session policy config...", "Restoring active password blocklist...",
                             "Restoring admin password role ruleset...", "Restoring default password role ruleset..."})
        EXPECT_TRUE(log.Contains(line, 7)) << line;
    Mock::VerifyAndClearExpectations(&config);

    // The flags were cleared: a second failure restores nothing more.
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(0);
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
    EXPECT_CALL(config, SetAdminRoleRuleset(_)).Times(0);
    EXPECT_CALL(config, SetDefaultRoleRuleset(_)).Times(0);
    EXPECT_EQ(Call("SetSessionPolicyConfig", "{}"), Answer(true, "Invalid Request!", "false"));
}

TEST_F(BackupRestore, OnlyAreasChangedSuccessfullyAreRestored) {
    handler.InitializeBackups();
    ASSERT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
    // A failed set clears the area's flag, so the block list is not restored; the session policy is.
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).WillOnce(Return(Error::InvalidBlockListEntry));
    EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(setupTimeout))).WillOnce(Return(Error::NoError));
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["x"]})"), Answer(true, "InvalidBlockListEntry", "false"));
}

TEST_F(BackupRestore, DefaultFailureRestoresTheAdminRulesetJustSet) {
    handler.InitializeBackups();
    InSequence order;
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", 50u)));
    EXPECT_CALL(config, SetDefaultRoleRuleset(_)).WillOnce(Return(Error::WarningDaysNotBelowExpirationDays));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
    EXPECT_EQ(Call("SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 50), RulesetJson("default", 60)})),
              Answer(true, "WarningDaysNotBelowExpirationDays", "false"));
}

TEST_F(BackupRestore, NonJsonRulesetsAreReportedAndTriggerARestore) {
    handler.InitializeBackups();
    ASSERT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
    EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(setupTimeout)));
    EXPECT_EQ(Call("SetPasswordRoleRulesets", "not json"), Answer(true, "Missing Admin/Default password ruleset!", "false"));
    EXPECT_EQ(InvalidRequests().size(), 1u);
}

TEST_F(BackupRestore, RestoreFailuresAreLoggedAndTheNextAreaStillRestored) {
    handler.InitializeBackups();
    ChangeEverything();
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).WillOnce(Return(Error::DatabaseError));
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).WillOnce(Return(Error::DatabaseError));
    EXPECT_CALL(config, SetAdminRoleRuleset(_)).WillOnce(Return(Error::DatabaseError));
    EXPECT_CALL(config, SetDefaultRoleRuleset(_)).WillOnce(Return(Error::DatabaseError));
    Call("SetSessionPolicyConfig", "[]");
    EXPECT_TRUE(log.Contains("Backup restore - Failed to set session policy parameter. Error: DatabaseError", 3));
    EXPECT_TRUE(log.Contains("Backup restore - Failed to set active passwords block list. Error: DatabaseError", 3));
    // Both ruleset failures carry the default ruleset's wording.
    EXPECT_EQ(log.Find("Backup restore - Failed to set default password role ruleset. Error: DatabaseError", 3).size(), 2u);
}

// Each backup step failing at set-up: restores are refused from then on and nothing is retried.
struct BackupFailureCase {
    const char* what;
    std::function<void(NiceMock<Kyr::Testing::MockUserManagerConfigurationService>&)> breakStep;
    String logged;
};

TEST_F(BackupRestore, BackupErrorRefusesEveryRestore) {
    const std::vector<BackupFailureCase> cases = {
        {"session policy", [](auto& service) { ON_CALL(service, GetSessionPolicyParameter(_)).WillByDefault(Return(Error::DatabaseError)); },
         "Failed to backup Session Policy Parameter with error: DatabaseError"},
        {"block list", [](auto& service) { ON_CALL(service, GetActivePasswordsBlockList(_)).WillByDefault(Return(Error::FileError)); },
         "Failed to backup active block list with error: FileError"},
        {"admin ruleset", [](auto& service) { ON_CALL(service, GetActiveAdminRoleRuleset(_)).WillByDefault(Return(Error::NotFound)); },
         "Failed to backup active admin role ruleset: Error: NotFound"},
        {"default ruleset", [](auto& service) { ON_CALL(service, GetActiveDefaultRoleRuleset(_)).WillByDefault(Return(Error::NotFound)); },
         "Failed to get active default role ruleset: Error: NotFound"},
    };
    for (const BackupFailureCase& c : cases) {
        SCOPED_TRACE(c.what);
        UmHandler fresh;
        fresh.SubscribeServices();
        c.breakStep(config);
        fresh.InitializeBackups();
        EXPECT_TRUE(log.Contains(c.logged, 3));
        EXPECT_TRUE(log.Contains("Failed to backup user manager configuration!", 3));

        // Not retried by a second set-up, even with the service healthy again.
        Mock::VerifyAndClear(&config);
        EXPECT_CALL(config, GetSessionPolicyParameter(_)).Times(0);
        fresh.InitializeBackups();

        EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(1); // the successful request only
        EXPECT_EQ(CallOn(fresh, "SetSessionPolicyConfig", SessionPolicyBody(500)), Answer(false, "", "true"));
        log.Clear();
        EXPECT_EQ(CallOn(fresh, "SetPasswordBlockList", invalidBlockList), Answer(true, "Invalid Request!", "false"));
        EXPECT_TRUE(log.Contains("Failed to restore UM config backup. a backup error was occurred", 3));
        EXPECT_FALSE(log.Contains("Restoring"));
        Mock::VerifyAndClearExpectations(&config);
    }
}

TEST_F(BackupRestore, AdminRulesetOfAnotherNameIsRestoredAsAnEmptyRuleset) {
    ON_CALL(config, GetActiveAdminRoleRuleset(_))
        .WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("administrators", 9)), Return(Error::NoError)));
    handler.InitializeBackups();
    ASSERT_EQ(Call("SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 50), RulesetJson("default", 60)})),
              Answer(false, "", "true"));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("", 0u)));
    EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", setupDefaultMinChars)));
    Call("SetPasswordBlockList", invalidBlockList);
}

TEST_F(BackupRestore, SecondSetupReplacesSessionPolicyAndBlockListButTheFirstRulesetsWin) {
    handler.InitializeBackups();
    ON_CALL(config, GetSessionPolicyParameter(_)).WillByDefault(DoAll(SetArgReferee<0>(MakeSessionPolicy(222)), Return(Error::NoError)));
    ON_CALL(config, GetActivePasswordsBlockList(_)).WillByDefault(DoAll(SetArgReferee<0>(BlockList{"second"}), Return(Error::NoError)));
    ON_CALL(config, GetActiveAdminRoleRuleset(_)).WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("admin", 77)), Return(Error::NoError)));
    handler.InitializeBackups();
    ChangeEverything();

    EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(222u)));
    EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(std::vector<String>{"second"})));
    EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", setupAdminMinChars)));
    Call("SetPasswordBlockList", invalidBlockList);
}

} // namespace
