// The six policy request functions of "UserManagementDp": what reaches the configuration service,
// what is answered, logged and reported. Restores are covered in BackupRestoreTest.cpp.
#include "PolicyTestSupport.h"

#include <functional>
#include <map>

#include "Kyr/System/Commons/Exceptions.h"

namespace {

using namespace testing;
using namespace PolicyTests;
using Error = UserManagerConfigError;

const String invalidRequest = "Invalid Request!";
const String missingRuleset = "Missing Admin/Default password ruleset!";

TEST_F(PolicyHandler, AnswersCarryTheServiceResult) {
    struct Case {
        const char* function;
        String body;
        std::function<void()> script;
        String answer;
        String logged; // error line expected, or empty
    };
    const std::vector<Case> cases = {
        {"GetSessionPolicyConfig", "", [] {},
         Answer(false, "NoError", R"({"timeoutInitialSeconds":111,"timeoutIncrementSeconds":0,"timeoutMaximumSeconds":0,)"
                                  R"("maxConcurrentSessionsCount":0,"maxSessionTimeMinutes":0,"issueTimeoutToAdminUsers":false})"),
         ""},
        {"GetSessionPolicyConfig", "", [&] { EXPECT_CALL(config, GetSessionPolicyParameter(_)).WillOnce(Return(Error::DatabaseError)); },
         Answer(true, "DatabaseError", "{}"), "Failed to get Session Policy Parameter with error: DatabaseError"},
        {"GetPasswordRoleRulesets", "", [] {},
         Answer(false, "NoError", R"({"passwordRoleRulesets":[)" + RulesetJson("admin", 8) + "," + RulesetJson("default", 6) + "]}"), ""},
        {"GetPasswordRoleRulesets", "",
         [&] {
             EXPECT_CALL(config, GetActiveAdminRoleRuleset(_)).WillOnce(Return(Error::NotFound));
             EXPECT_CALL(config, GetActiveDefaultRoleRuleset(_)).Times(0);
         },
         Answer(true, "NotFound", "{}"), "Failed to get active admin role ruleset: Error: NotFound"},
        {"GetPasswordRoleRulesets", "", [&] { EXPECT_CALL(config, GetActiveDefaultRoleRuleset(_)).WillOnce(Return(Error::NotFound)); },
         Answer(true, "NotFound", "{}"), "Failed to get active default role ruleset: Error: NotFound"},
        {"GetPasswordBlockList", "", [] {}, Answer(false, "NoError", R"({"passwordsBlockList":["setup-1","setup-2"]})"), ""},
        {"GetPasswordBlockList", "", [&] { EXPECT_CALL(config, GetActivePasswordsBlockList(_)).WillOnce(Return(Error::FileError)); },
         Answer(true, "FileError", "[]"), "Failed to get active block list with error: FileError"},
        {"SetSessionPolicyConfig", SessionPolicyBody(0),
         [&] { EXPECT_CALL(config, SetSessionPolicyParameter(HasInitialTimeout(0))).WillOnce(Return(Error::NoError)); },
         Answer(false, "", "true"), ""},
        {"SetSessionPolicyConfig", SessionPolicyBody(9),
         [&] { EXPECT_CALL(config, SetSessionPolicyParameter(_)).WillOnce(Return(Error::InitialTimeoutAboveMaximum)); },
         Answer(true, "InitialTimeoutAboveMaximum", "false"), "Failed to set session policy parameter. Error: InitialTimeoutAboveMaximum"},
        {"SetPasswordBlockList", R"({"passwordsBlockList":["b","a","b","",")" + String(127, 'x') + R"("]})",
         [&] {
             const std::vector<String> entries{"b", "a", "b", "", String(127, 'x')};
             EXPECT_CALL(config, SetActivePasswordsBlockList(HoldsEntries(entries))).WillOnce(Return(Error::NoError));
         },
         Answer(false, "", "true"), ""},
        {"SetPasswordBlockList", R"({"passwordsBlockList":[]})",
         [&] { EXPECT_CALL(config, SetActivePasswordsBlockList(IsEmpty())).WillOnce(Return(Error::InvalidBlockListEntry)); },
         Answer(true, "InvalidBlockListEntry", "false"), "Failed to set active passwords block list. Error: InvalidBlockListEntry"},
        {"SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 10), RulesetJson("default", 20)}),
         [&] {
             EXPECT_CALL(config, SetAdminRoleRuleset(_)).WillOnce(Return(Error::RulesetNameMismatch));
             EXPECT_CALL(config, SetDefaultRoleRuleset(_)).Times(0);
         },
         // The log line names the default ruleset for the admin failure too.
         Answer(true, "RulesetNameMismatch", "false"), "Failed to set default password role ruleset. Object is missing!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.function + (" " + c.answer));
        UmHandler fresh; // no earlier success to restore
        fresh.SubscribeServices();
        log.Clear();
        c.script();
        EXPECT_EQ(CallOn(fresh, c.function, c.body), c.answer);
        EXPECT_EQ(log.Contains(c.logged, 3), !c.logged.empty());
        EXPECT_TRUE(InvalidRequests().empty());
        Mock::VerifyAndClearExpectations(&config);
    }
}

TEST_F(PolicyHandler, MalformedBodiesAreReported) {
    const std::vector<std::pair<const char*, String>> cases = { // function, error line of the model
        // The getter's flat form.
        {"SetSessionPolicyConfig", R"({"timeoutInitialSeconds":1,"timeoutIncrementSeconds":1,"timeoutMaximumSeconds":2,)"
                                   R"("maxConcurrentSessionsCount":3,"maxSessionTimeMinutes":4,"issueTimeoutToAdminUsers":false})"},
        {"SetSessionPolicyConfig", "timeoutInitialSeconds=1"},
        {"SetSessionPolicyConfig", Replace(SessionPolicyBody(1), "Users\":false", "Users\":1")},
        {"SetSessionPolicyConfig", Replace(SessionPolicyBody(1), "\"maxSessionTimeMinutes\":4,", "")},
        {"SetPasswordBlockList", R"({"passwordsBlockList":["a",1]})"},
        {"SetPasswordBlockList", R"(["a"])"},
        {"SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 1), RulesetJson("default", 2), "7"})},
    };
    const std::vector<String> detail = {
        "Invalid session policy parameter config object!",
        "Invalid session policy config document root object!",
        "Parse exception occured: Element \"issueTimeoutToAdminUsers\" in Object \"sessionPolicyParameter\" must have a bool data type  ",
        "Parse exception occured: Element \"maxSessionTimeMinutes\" in missing in root object \"sessionPolicyParameter\" ",
        "Failed to parse block list JSON Array. Error: Element of Var \"passwordsBlockList\" in Object \"root\" must have a string data type  ",
        "Invalid password block list config document root object!",
        "Invalid password role ruleset object found",
    };
    const std::map<String, String> invalidLine = {
        {"SetSessionPolicyConfig", "Failed to set session policy config. Invalid request!"},
        {"SetPasswordBlockList", "Failed to set active password block list. Invalid request!"},
        {"SetPasswordRoleRulesets", "Failed to set password role rulesets. Invalid request!"}};
    // Nothing parsed reaches the service (the block list's empty list: BackupRestoreTest.cpp).
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(0);
    EXPECT_CALL(config, SetActivePasswordsBlockList(IsEmpty())).Times(AnyNumber());
    EXPECT_CALL(config, SetActivePasswordsBlockList(Not(IsEmpty()))).Times(0);
    EXPECT_CALL(config, SetAdminRoleRuleset(_)).Times(0);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& [function, body] = cases[i];
        SCOPED_TRACE(body);
        log.Clear();
        notifications.Clear();
        EXPECT_EQ(Call(function, body), Answer(true, invalidRequest, "false"));
        EXPECT_TRUE(log.Contains(detail[i], 3));
        EXPECT_TRUE(log.Contains(invalidLine.at(function), 3));
        EXPECT_EQ(InvalidRequests(), (std::vector<std::pair<String, String>>{{"JSON-Object", function}}));
    }
}

TEST_F(PolicyHandler, BlockListEntryOf128CharactersEndsTheRequestBeforeTheService) {
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
    EXPECT_THROW(Call("SetPasswordBlockList", R"({"passwordsBlockList":["ok",")" + String(128, 'x') + R"("]})"),
                 Kyr::System::Commons::ArgumentException);
}

TEST_F(PolicyHandler, RoleRulesetsSendTheFirstAdminAndDefaultRuleset) {
    const String admin = RulesetJson("admin", 10), fallback = RulesetJson("default", 20);
    struct Case {
        const char* what;
        String body;
        String errorText; // empty: admin 10 and default 20 sent
        bool notified;
    };
    const std::vector<Case> cases = {
        {"default first, a third of another name", RulesetsBody({fallback, RulesetJson("guest", 40), admin}), "", false},
        {"two named admin", RulesetsBody({admin, RulesetJson("admin", 11), fallback}), "", false},
        {"Admin capitalised", RulesetsBody({RulesetJson("Admin", 10), fallback}), missingRuleset, false},
        {"empty array", RulesetsBody({}), missingRuleset, false},
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
        EXPECT_EQ(InvalidRequests().size(), c.notified ? 1u : 0u);
        Mock::VerifyAndClearExpectations(&config);
    }
}

} // namespace
