// The six policy request functions of "UserManagementDp": what reaches the configuration service,
// what is answered, logged and reported. Restores are covered in BackupRestoreTest.cpp.
#include "PolicyHandlerFixture.h"

#include <functional>

#include "Kyr/System/Commons/Exceptions.h"

namespace {

using namespace testing;
using namespace PolicyTests;
using Error = UserManagerConfigError;

const String invalidRequest = "Invalid Request!";
const String missingRuleset = "Missing Admin/Default password ruleset!";

// ---- Getters -----------------------------------------------------------------------------------

struct GetterCase {
    const char* what;
    const char* function;
    std::function<void(NiceMock<Kyr::Testing::MockUserManagerConfigurationService>&)> script;
    String answer;
    String logged; // error line expected, or empty
};

TEST_F(PolicyHandler, GettersAnswerTheServiceStateWithTheResultNameAsErrorText) {
    const String flatPolicy = R"({"timeoutInitialSeconds":111,"timeoutIncrementSeconds":0,"timeoutMaximumSeconds":0,)"
                              R"("maxConcurrentSessionsCount":0,"maxSessionTimeMinutes":0,"issueTimeoutToAdminUsers":false})";
    const auto fail = [](Error error) { return Return(error); };
    const std::vector<GetterCase> cases = {
        {"session policy", "GetSessionPolicyConfig", [](auto&) {}, Answer(false, "NoError", flatPolicy), ""},
        {"session policy unreadable", "GetSessionPolicyConfig",
         [&](auto& service) { EXPECT_CALL(service, GetSessionPolicyParameter(_)).WillOnce(fail(Error::DatabaseError)); },
         Answer(true, "DatabaseError", "{}"), "Failed to get Session Policy Parameter with error: DatabaseError"},
        {"rulesets, admin first", "GetPasswordRoleRulesets", [](auto&) {},
         Answer(false, "NoError", R"({"passwordRoleRulesets":[)" + RulesetJson("admin", 8) + "," + RulesetJson("default", 6) + "]}"),
         ""},
        {"admin ruleset unreadable", "GetPasswordRoleRulesets",
         [&](auto& service) {
             EXPECT_CALL(service, GetActiveAdminRoleRuleset(_)).WillOnce(fail(Error::NotFound));
             EXPECT_CALL(service, GetActiveDefaultRoleRuleset(_)).Times(0);
         },
         Answer(true, "NotFound", "{}"), "Failed to get active admin role ruleset: Error: NotFound"},
        {"default ruleset unreadable", "GetPasswordRoleRulesets",
         [&](auto& service) { EXPECT_CALL(service, GetActiveDefaultRoleRuleset(_)).WillOnce(fail(Error::UnknownError)); },
         Answer(true, "UnknownError", "{}"), "Failed to get active default role ruleset: Error: UnknownError"},
        {"block list", "GetPasswordBlockList", [](auto&) {},
         Answer(false, "NoError", R"({"passwordsBlockList":["setup-1","setup-2"]})"), ""},
        {"block list unreadable", "GetPasswordBlockList",
         [&](auto& service) { EXPECT_CALL(service, GetActivePasswordsBlockList(_)).WillOnce(fail(Error::FileError)); },
         Answer(true, "FileError", "[]"), "Failed to get active block list with error: FileError"},
    };
    for (const GetterCase& c : cases) {
        SCOPED_TRACE(c.what);
        log.Clear();
        c.script(config);
        EXPECT_EQ(Call(c.function), c.answer);
        if (!c.logged.empty()) {
            EXPECT_TRUE(log.Contains(c.logged, 3));
        }
        Mock::VerifyAndClearExpectations(&config);
    }
}

// ---- SetSessionPolicyConfig --------------------------------------------------------------------

TEST_F(PolicyHandler, SessionPolicyIsPassedOnUnchanged) {
    SessionPolicyParameter received;
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).WillOnce(DoAll(SaveArg<0>(&received), Return(Error::NoError)));
    EXPECT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(0)), Answer(false, "", "true"));
    EXPECT_EQ(received.timeoutInitialSeconds, 0u);
    EXPECT_EQ(received.maxSessionTimeMinutes, 4u);
    EXPECT_TRUE(InvalidRequests().empty());
}

struct RefusedCase {
    const char* what;
    String body;
    String logged;
};

TEST_F(PolicyHandler, MalformedSessionPolicyIsReportedAndNeverSent) {
    const std::vector<RefusedCase> cases = {
        {"getter's flat form",
         R"({"timeoutInitialSeconds":1,"timeoutIncrementSeconds":1,"timeoutMaximumSeconds":1,"maxConcurrentSessionsCount":1,)"
         R"("maxSessionTimeMinutes":1,"issueTimeoutToAdminUsers":false})",
         "Invalid session policy parameter config object!"},
        {"not JSON", "timeoutInitialSeconds=1", "Invalid session policy config document root object!"},
        {"flag as number", Edit(SessionPolicyBody(1), "/sessionPolicyParameter/issueTimeoutToAdminUsers", "1"),
         "Parse exception occured: Element \"issueTimeoutToAdminUsers\" in Object \"sessionPolicyParameter\" must have a bool data type  "},
        {"last key missing", Edit(SessionPolicyBody(1), "/sessionPolicyParameter/maxSessionTimeMinutes", "<erase>"),
         "Parse exception occured: Element \"maxSessionTimeMinutes\" in missing in root object \"sessionPolicyParameter\" "},
    };
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(0);
    for (const RefusedCase& c : cases) {
        SCOPED_TRACE(c.what);
        log.Clear();
        notifications.Clear();
        EXPECT_EQ(Call("SetSessionPolicyConfig", c.body), Answer(true, invalidRequest, "false"));
        EXPECT_TRUE(log.Contains(c.logged, 3));
        EXPECT_TRUE(log.Contains("Failed to set session policy config. Invalid request!", 3));
        EXPECT_EQ(InvalidRequests(), (std::vector<std::pair<String, String>>{{"JSON-Object", "SetSessionPolicyConfig"}}));
    }
}

TEST_F(PolicyHandler, RefusedSessionPolicyAnswersTheResultName) {
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).WillOnce(Return(Error::InitialTimeoutAboveMaximum));
    EXPECT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(5)), Answer(true, "InitialTimeoutAboveMaximum", "false"));
    EXPECT_TRUE(log.Contains("Failed to set session policy parameter. Error: InitialTimeoutAboveMaximum", 3));
    EXPECT_TRUE(InvalidRequests().empty());
}

// ---- SetPasswordBlockList ----------------------------------------------------------------------

TEST_F(PolicyHandler, BlockListKeepsOrderDuplicatesAndEntriesUpTo127Characters) {
    const String longest(127, 'x');
    const std::vector<String> entries{"b", "a", "b", "", longest};
    EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(entries))).WillOnce(Return(Error::NoError));
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["b","a","b","",")" + longest + R"("]})"),
              Answer(false, "", "true"));

    EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(std::vector<String>{}))).WillOnce(Return(Error::NoError));
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":[]})"), Answer(false, "", "true"));
}

TEST_F(PolicyHandler, BlockListEntryOf128CharactersEndsTheRequestBeforeTheService) {
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
    try {
        Call("SetPasswordBlockList", R"({"passwordsBlockList":["ok",")" + String(128, 'x') + R"("]})");
        ADD_FAILURE() << "answered";
    } catch (const Kyr::System::Commons::ArgumentException& error) {
        EXPECT_EQ(error.GetMessage(), "Input string is too long");
    }
}

TEST_F(PolicyHandler, MalformedBlockListIsReportedAndNeverSent) {
    const std::vector<RefusedCase> cases = {
        {"number entry", R"({"passwordsBlockList":["a",1]})",
         "Failed to parse block list JSON Array. Error: Element of Var \"passwordsBlockList\" in Object \"root\" must have a "
         "string data type  "},
        {"root is an array", R"([{"passwordsBlockList":[]}])", "Invalid password block list config document root object!"},
        {"member missing", R"({"blockList":[]})",
         "Failed to parse block list JSON Array. Error: Element \"passwordsBlockList\" is missing in root object \"root\" "},
    };
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
    for (const RefusedCase& c : cases) {
        SCOPED_TRACE(c.what);
        log.Clear();
        notifications.Clear();
        EXPECT_EQ(Call("SetPasswordBlockList", c.body), Answer(true, invalidRequest, "false"));
        EXPECT_TRUE(log.Contains(c.logged, 3));
        EXPECT_TRUE(log.Contains("Failed to set active password block list. Invalid request!", 3));
        EXPECT_EQ(InvalidRequests(), (std::vector<std::pair<String, String>>{{"JSON-Object", "SetPasswordBlockList"}}));
    }
}

TEST_F(PolicyHandler, RefusedBlockListAnswersTheResultName) {
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).WillOnce(Return(Error::InvalidBlockListEntry));
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["a"]})"), Answer(true, "InvalidBlockListEntry", "false"));
    EXPECT_TRUE(log.Contains("Failed to set active passwords block list. Error: InvalidBlockListEntry", 3));
}

// ---- SetPasswordRoleRulesets -------------------------------------------------------------------

struct RulesetsCase {
    const char* what;
    String body;
    String answer;
    int adminSent;   // minCharCount of the admin ruleset sent, -1 when none is sent
    int defaultSent; // likewise for the default ruleset
    bool notified;
};

TEST_F(PolicyHandler, RoleRulesetsSendTheFirstAdminAndDefaultRuleset) {
    const String admin = RulesetJson("admin", 10);
    const String fallback = RulesetJson("default", 20);
    const String malformed = Edit(RulesetJson("default", 30), "/passwordPolicyParameter/minCharCount", "-1");
    const std::vector<RulesetsCase> cases = {
        {"admin and default", RulesetsBody({admin, fallback}), Answer(false, "", "true"), 10, 20, false},
        {"default first, third of another name", RulesetsBody({fallback, RulesetJson("guest", 40), admin}),
         Answer(false, "", "true"), 10, 20, false},
        {"two named admin", RulesetsBody({admin, RulesetJson("admin", 11), fallback}), Answer(false, "", "true"), 10, 20, false},
        {"Admin capitalised", RulesetsBody({RulesetJson("Admin", 10), fallback}), Answer(true, missingRuleset, "false"), -1, -1,
         false},
        {"only default", RulesetsBody({fallback}), Answer(true, missingRuleset, "false"), -1, -1, false},
        {"empty array", RulesetsBody({}), Answer(true, missingRuleset, "false"), -1, -1, false},
        // The second message replaces the first; the notification is still sent.
        {"not JSON", "passwordRoleRulesets=1", Answer(true, missingRuleset, "false"), -1, -1, true},
        {"second malformed", RulesetsBody({admin, malformed}), Answer(true, missingRuleset, "false"), -1, -1, true},
        {"both parsed, third malformed", RulesetsBody({admin, fallback, malformed}), Answer(true, invalidRequest, "false"), -1,
         -1, true},
    };
    for (const RulesetsCase& c : cases) {
        SCOPED_TRACE(c.what);
        notifications.Clear();
        // A fresh handler each time, so that no earlier success is restored.
        UmHandler fresh;
        fresh.SubscribeServices();
        if (c.adminSent >= 0) {
            EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", std::uint32_t(c.adminSent)))).WillOnce(Return(Error::NoError));
            EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", std::uint32_t(c.defaultSent))))
                .WillOnce(Return(Error::NoError));
        } else {
            EXPECT_CALL(config, SetAdminRoleRuleset(_)).Times(0);
            EXPECT_CALL(config, SetDefaultRoleRuleset(_)).Times(0);
        }
        EXPECT_EQ(CallOn(fresh, "SetPasswordRoleRulesets", c.body), c.answer);
        EXPECT_EQ(InvalidRequests().size(), c.notified ? 1u : 0u);
        if (c.notified) {
            EXPECT_EQ(InvalidRequests().front(), std::make_pair(String("JSON-Object"), String("SetPasswordRoleRulesets")));
        }
        Mock::VerifyAndClearExpectations(&config);
    }
}

TEST_F(PolicyHandler, RefusedAdminRulesetStopsBeforeTheDefault) {
    EXPECT_CALL(config, SetAdminRoleRuleset(_)).WillOnce(Return(Error::RulesetNameMismatch));
    EXPECT_CALL(config, SetDefaultRoleRuleset(_)).Times(0);
    EXPECT_EQ(Call("SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 1), RulesetJson("default", 2)})),
              Answer(true, "RulesetNameMismatch", "false"));
    // The log line names the default ruleset for the admin failure too.
    EXPECT_TRUE(log.Contains("Failed to set default password role ruleset. Object is missing!", 3));
}

} // namespace
