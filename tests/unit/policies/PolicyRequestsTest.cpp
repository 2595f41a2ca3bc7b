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
const String twoRulesets = RulesetsBody({RulesetJson("admin", 10), RulesetJson("default", 20)});

struct ServiceCase {
    const char* function;
    String body;
    std::function<void(MockConfigService&)> script;
    String answer;
    String logged; // error line expected, or empty
};

TEST_F(PolicyHandler, AnswersCarryTheServiceResult) {
    const auto answer = [](Error error) { return Return(error); };
    const std::vector<ServiceCase> cases = {
        {"GetSessionPolicyConfig", "", [](auto&) {},
         Answer(false, "NoError", R"({"timeoutInitialSeconds":111,"timeoutIncrementSeconds":0,"timeoutMaximumSeconds":0,)"
                                  R"("maxConcurrentSessionsCount":0,"maxSessionTimeMinutes":0,"issueTimeoutToAdminUsers":false})"),
         ""},
        {"GetPasswordRoleRulesets", "", [](auto&) {},
         Answer(false, "NoError", R"({"passwordRoleRulesets":[)" + RulesetJson("admin", 8) + "," + RulesetJson("default", 6) + "]}"), ""},
        {"GetPasswordRoleRulesets", "",
         [&](auto& s) {
             EXPECT_CALL(s, GetActiveAdminRoleRuleset(_)).WillOnce(answer(Error::NotFound));
             EXPECT_CALL(s, GetActiveDefaultRoleRuleset(_)).Times(0);
         },
         Answer(true, "NotFound", "{}"), "Failed to get active admin role ruleset: Error: NotFound"},
        {"GetPasswordBlockList", "", [](auto&) {}, Answer(false, "NoError", R"({"passwordsBlockList":["setup-1","setup-2"]})"), ""},
        {"GetPasswordBlockList", "", [&](auto& s) { EXPECT_CALL(s, GetActivePasswordsBlockList(_)).WillOnce(answer(Error::FileError)); },
         Answer(true, "FileError", "[]"), "Failed to get active block list with error: FileError"},
        {"SetSessionPolicyConfig", SessionPolicyBody(0),
         [&](auto& s) { EXPECT_CALL(s, SetSessionPolicyParameter(HasInitialTimeout(0))).WillOnce(answer(Error::NoError)); },
         Answer(false, "", "true"), ""},
        {"SetPasswordBlockList", R"({"passwordsBlockList":["b","a","b","",")" + String(127, 'x') + R"("]})",
         [&](auto& s) {
             const std::vector<String> entries{"b", "a", "b", "", String(127, 'x')};
             EXPECT_CALL(s, SetActivePasswordsBlockList(HoldsEntries(entries))).WillOnce(answer(Error::NoError));
         },
         Answer(false, "", "true"), ""},
        {"SetPasswordBlockList", R"({"passwordsBlockList":[]})",
         [&](auto& s) { EXPECT_CALL(s, SetActivePasswordsBlockList(IsEmpty())).WillOnce(answer(Error::InvalidBlockListEntry)); },
         Answer(true, "InvalidBlockListEntry", "false"), "Failed to set active passwords block list. Error: InvalidBlockListEntry"},
        {"SetPasswordRoleRulesets", twoRulesets,
         [&](auto& s) {
             EXPECT_CALL(s, SetAdminRoleRuleset(_)).WillOnce(answer(Error::RulesetNameMismatch));
             EXPECT_CALL(s, SetDefaultRoleRuleset(_)).Times(0);
         },
         // The log line names the default ruleset for the admin failure too.
         Answer(true, "RulesetNameMismatch", "false"), "Failed to set default password role ruleset. Object is missing!"},
    };
    for (const ServiceCase& c : cases) {
        SCOPED_TRACE(c.function + (" " + c.answer));
        UmHandler fresh; // no earlier success to restore
        fresh.SubscribeServices();
        log.Clear();
        c.script(config);
        EXPECT_EQ(CallOn(fresh, c.function, c.body), c.answer);
        EXPECT_EQ(log.Contains(c.logged, 3), !c.logged.empty());
        EXPECT_TRUE(InvalidRequests().empty());
        Mock::VerifyAndClearExpectations(&config);
    }
}

TEST_F(PolicyHandler, MalformedBodiesAreReportedAndNeverSent) {
    struct Case {
        const char* function;
        String body;
        String detail;
    };
    const std::vector<Case> cases = {
        // The getter's flat form.
        {"SetSessionPolicyConfig",
         R"({"timeoutInitialSeconds":1,"timeoutIncrementSeconds":1,"timeoutMaximumSeconds":2,"maxConcurrentSessionsCount":3,)"
         R"("maxSessionTimeMinutes":4,"issueTimeoutToAdminUsers":false})",
         "Invalid session policy parameter config object!"},
        {"SetSessionPolicyConfig", "timeoutInitialSeconds=1", "Invalid session policy config document root object!"},
        {"SetSessionPolicyConfig", Replace(SessionPolicyBody(1), "Users\":false", "Users\":1"),
         "Parse exception occured: Element \"issueTimeoutToAdminUsers\" in Object \"sessionPolicyParameter\" must have a bool data type  "},
        {"SetSessionPolicyConfig", Replace(SessionPolicyBody(1), "\"maxSessionTimeMinutes\":4,", ""),
         "Parse exception occured: Element \"maxSessionTimeMinutes\" in missing in root object \"sessionPolicyParameter\" "},
        {"SetPasswordBlockList", R"({"passwordsBlockList":["a",1]})",
         "Failed to parse block list JSON Array. Error: Element of Var \"passwordsBlockList\" in Object \"root\" must have a string data type  "},
        {"SetPasswordRoleRulesets", RulesetsBody({RulesetJson("admin", 1), RulesetJson("default", 2), "7"}),
         "Invalid password role ruleset object found"},
    };
    const std::map<String, String> invalidLine = {
        {"SetSessionPolicyConfig", "Failed to set session policy config. Invalid request!"},
        {"SetPasswordBlockList", "Failed to set active password block list. Invalid request!"},
        {"SetPasswordRoleRulesets", "Failed to set password role rulesets. Invalid request!"}};
    EXPECT_CALL(config, SetSessionPolicyParameter(_)).Times(0);
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
    EXPECT_CALL(config, SetAdminRoleRuleset(_)).Times(0);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        log.Clear();
        notifications.Clear();
        EXPECT_EQ(Call(c.function, c.body), Answer(true, invalidRequest, "false"));
        EXPECT_TRUE(log.Contains(c.detail, 3));
        EXPECT_TRUE(log.Contains(invalidLine.at(c.function), 3));
        EXPECT_EQ(InvalidRequests(), (std::vector<std::pair<String, String>>{{"JSON-Object", c.function}}));
    }
}

TEST_F(PolicyHandler, BlockListEntryOf128CharactersEndsTheRequestBeforeTheService) {
    EXPECT_CALL(config, SetActivePasswordsBlockList(_)).Times(0);
    EXPECT_THROW(Call("SetPasswordBlockList", R"({"passwordsBlockList":["ok",")" + String(128, 'x') + R"("]})"),
                 Kyr::System::Commons::ArgumentException);
}

TEST_F(PolicyHandler, RoleRulesetsSendTheFirstAdminAndDefaultRuleset) {
    const String admin = RulesetJson("admin", 10), fallback = RulesetJson("default", 20);
    const String malformed = Replace(fallback, "\"minCharCount\":20", "\"minCharCount\":-1");
    struct Case {
        const char* what;
        String body;
        bool sent;         // admin 10 and default 20 sent
        String errorText;  // when not sent
        bool notified;
    };
    const std::vector<Case> cases = {
        {"default first, a third of another name", RulesetsBody({fallback, RulesetJson("guest", 40), admin}), true, "", false},
        {"two named admin", RulesetsBody({admin, RulesetJson("admin", 11), fallback}), true, "", false},
        {"Admin capitalised", RulesetsBody({RulesetJson("Admin", 10), fallback}), false, missingRuleset, false},
        {"empty array", RulesetsBody({}), false, missingRuleset, false},
        // The second message replaces the first; the notification is still sent.
        {"not JSON", "passwordRoleRulesets=1", false, missingRuleset, true},
        {"second malformed", RulesetsBody({admin, malformed}), false, missingRuleset, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        notifications.Clear();
        UmHandler fresh; // no earlier success to restore
        fresh.SubscribeServices();
        EXPECT_CALL(config, SetAdminRoleRuleset(IsRuleset("admin", 10))).Times(c.sent ? 1 : 0);
        EXPECT_CALL(config, SetDefaultRoleRuleset(IsRuleset("default", 20))).Times(c.sent ? 1 : 0);
        EXPECT_EQ(CallOn(fresh, "SetPasswordRoleRulesets", c.body), c.sent ? Answer(false, "", "true") : Answer(true, c.errorText, "false"));
        EXPECT_EQ(InvalidRequests().size(), c.notified ? 1u : 0u);
        Mock::VerifyAndClearExpectations(&config);
    }
}

} // namespace
