// The six policy request functions of "UserManagementDp": what reaches the configuration service,
// what is answered, logged and reported. Restores are covered in BackupRestoreTest.cpp.
#include "PolicyTestSupport.h"

#include <map>

#include "Kyr/System/Commons/Exceptions.h"

namespace {

using namespace testing;
using namespace PolicyTests;
using Error = UserManagerConfigError;

const String missingRuleset = "Missing Admin/Default password ruleset!";

TEST_F(PolicyHandler, AnswersCarryTheServiceResult) {
    struct Case { const char* function; String body; Error* failing; String result, logged; }; // failing: made to answer DatabaseError
    const std::vector<Case> cases = {
        {"GetSessionPolicyConfig", "", nullptr, SessionPolicyFields(111), ""},
        {"GetSessionPolicyConfig", "", &sessionRead, "{}", "Failed to get Session Policy Parameter with error: DatabaseError"},
        {"GetPasswordRoleRulesets", "", nullptr, RulesetsBody({RulesetJson("admin", 8), RulesetJson("default", 6)}), ""},
        {"GetPasswordRoleRulesets", "", &adminRead, "{}", "Failed to get active admin role ruleset: Error: DatabaseError"},
        {"GetPasswordRoleRulesets", "", &defaultRead, "{}", "Failed to get active default role ruleset: Error: DatabaseError"},
        {"GetPasswordBlockList", "", nullptr, R"({"passwordsBlockList":["setup-1","setup-2"]})", ""},
        {"GetPasswordBlockList", "", &blockListRead, "[]", "Failed to get active block list with error: DatabaseError"},
        {"SetSessionPolicyConfig", SessionPolicyBody(5), &sessionWrite, "false", "Failed to set session policy parameter. Error: DatabaseError"},
        {"SetPasswordBlockList", R"({"passwordsBlockList":[]})", &blockListWrite, "false",
         "Failed to set active passwords block list. Error: DatabaseError"},
        // The log line names the default ruleset for the admin failure too.
        {"SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 10), RulesetJson("default", 20)}), &adminWrite, "false",
         "Failed to set default password role ruleset. Object is missing!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.function + (" " + c.logged));
        log.Clear();
        if (c.failing) *c.failing = Error::DatabaseError;
        // After a failed admin ruleset the default one is not sent.
        EXPECT_CALL(config, SetDefaultRoleRuleset(_)).Times(c.failing == &adminWrite ? Exactly(0) : AnyNumber());
        EXPECT_EQ(Call(c.function, c.body), c.failing ? Answer(true, "DatabaseError", c.result) : Answer(false, "NoError", c.result));
        EXPECT_EQ(log.Contains(c.logged, 3), c.failing != nullptr);
        if (c.failing) *c.failing = Error::NoError;
        Mock::VerifyAndClearExpectations(&config);
    }
    EXPECT_EQ(Notified(), "");
}

TEST_F(PolicyHandler, SettersSendWhatTheBodySays) {
    const BlockList entries{"b", "a", "b", "", String(127, 'x')};
    EXPECT_CALL(config, SetSessionPolicyParameter(IsSessionPolicy(0)));
    EXPECT_CALL(config, SetActivePasswordsBlockList(entries));
    EXPECT_EQ(Call("SetSessionPolicyConfig", SessionPolicyBody(0)), Answer(false, "", "true"));
    EXPECT_EQ(Call("SetPasswordBlockList", R"({"passwordsBlockList":["b","a","b","",")" + String(127, 'x') + R"("]})"),
              Answer(false, "", "true"));
    // An entry of 128 characters ends the request before the service.
    EXPECT_THROW(Call("SetPasswordBlockList", R"({"passwordsBlockList":["ok",")" + String(128, 'x') + R"("]})"),
                 Kyr::System::Commons::ArgumentException);
}

TEST_F(PolicyHandler, MalformedBodiesAreReported) {
    struct Case { const char* function; String body, detail; }; // detail: the model's error line
    const std::vector<Case> cases = {
        {"SetSessionPolicyConfig", SessionPolicyFields(1), "Invalid session policy parameter config object!"}, // the getter's form
        {"SetSessionPolicyConfig", "timeoutInitialSeconds=1", "Invalid session policy config document root object!"},
        {"SetSessionPolicyConfig", Replace(SessionPolicyBody(1), "Users\":true", "Users\":1"),
         "Parse exception occured: Element \"issueTimeoutToAdminUsers\" in Object \"sessionPolicyParameter\" must have a bool data type  "},
        {"SetPasswordBlockList", R"({"passwordsBlockList":["a",1]})",
         "Failed to parse block list JSON Array. Error: Element of Var \"passwordsBlockList\" in Object \"root\" must have a string data type  "},
        {"SetPasswordBlockList", R"(["a"])", "Invalid password block list config document root object!"},
        {"SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 1), RulesetJson("default", 2), "7"}),
         "Invalid password role ruleset object found"},
    };
    const std::map<String, String> invalidLine = {{"SetSessionPolicyConfig", "Failed to set session policy config. Invalid request!"},
                                                  {"SetPasswordBlockList", "Failed to set active password block list. Invalid request!"},
                                                  {"SetPasswordRoleRulesets", "Failed to set password role rulesets. Invalid request!"}};
    // Nothing parsed reaches the service (the block list's empty list: BackupRestoreTest.cpp).
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(0);
    EXPECT_CALL(config, SetActivePasswordsBlockList(IsEmpty())).Times(AnyNumber());
    EXPECT_CALL(config, SetActivePasswordsBlockList(Not(IsEmpty()))).Times(0);
    EXPECT_CALL(config, SetAdminRoleRuleset(_)).Times(0);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        log.Clear();
        notifications.Clear();
        EXPECT_EQ(Call(c.function, c.body), Answer(true, "Invalid Request!", "false"));
        EXPECT_TRUE(log.Contains(c.detail, 3));
        EXPECT_TRUE(log.Contains(invalidLine.at(c.function), 3));
        EXPECT_EQ(Notified(), "JSON-Object|" + String(c.function) + ";");
    }
}

TEST_F(PolicyHandler, DeeplyNestedBodiesAreRefusedWithoutExhaustingTheStack) {
    for (const char* function : {"SetSessionPolicyConfig", "SetPasswordBlockList", "SetPasswordRoleRulesets"})
        EXPECT_THAT(Call(function, String(100000, '[')), HasSubstr(R"("error":true)")) << function;
}

TEST_F(PolicyHandler, RoleRulesetsSendTheFirstAdminAndDefaultRuleset) {
    const String admin = RulesetJson("admin", 10), fallback = RulesetJson("default", 20);
    struct Case { const char* what; String body, errorText; bool notified; }; // no error text: admin 10 and default 20 sent
    const std::vector<Case> cases = {
        {"default first, a third of another name", RulesetsBody({fallback, RulesetJson("guest", 40), admin}), "", false},
        {"two named admin", RulesetsBody({admin, RulesetJson("admin", 11), fallback}), "", false},
        {"Admin capitalised", RulesetsBody({RulesetJson("Admin", 10), fallback}), missingRuleset, false},
        // The second message replaces the first; the notification is still sent.
        {"not JSON", "passwordRoleRulesets=1", missingRuleset, true},
        {"second malformed", RulesetsBody({admin, Replace(fallback, "\"minCharCount\":20", "\"minCharCount\":-1")}), missingRuleset, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        notifications.Clear();
        UmHandler fresh; // no earlier success to restore
        fresh.SubscribeServices();
        const bool sent = c.errorText.empty();
        EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", 10))).Times(sent ? 1 : 0);
        EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", 20))).Times(sent ? 1 : 0);
        EXPECT_EQ(CallOn(fresh, "SetPasswordRoleRulesets", c.body), Answer(!sent, c.errorText, sent ? "true" : "false"));
        EXPECT_EQ(Notified(), c.notified ? "JSON-Object|SetPasswordRoleRulesets;" : "");
        Mock::VerifyAndClearExpectations(&config);
    }
}

} // namespace
