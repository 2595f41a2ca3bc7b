#pragma once
// A UmHandler whose configuration service mock answers a known set-up state (and whose results the
// tests can turn into failures); and the JSON bodies the policy tests send.
#include "unit/UmHandlerFixture.h"

namespace PolicyTests {

using Kyr::String;
using Kyr::Services::Modules::Wbm::Um::Internal::UmHandler;
using Kyr::System::Um::Services::UserManagerConfigError;
using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;
using BlockList = std::vector<Kyr::System::Rsc::RscString<128>>;

// `text` with its first `from` replaced by `to`.
inline String Replace(String text, const String& from, const String& to) {
    const auto at = text.find(from);
    if (at == String::npos) ADD_FAILURE() << "no " << from;
    return at == String::npos ? text : text.replace(at, from.size(), to);
}

inline String RulesetJson(const String& name, std::uint32_t minCharCount) {
    return R"({"roleRulesetName":")" + name +
           R"(","passwordPolicyParameter":{"allowedASCIISymbols":"","reusedGenerationCount":0,"allowedPasswordChanges":0,)"
           R"("intervalType":"Hour","intervalCount":0,"blockUsername":false,"blockReusedPasswords":false,"checkBlockList":false,)"
           R"("checkPwChangableInterval":false,"minCharCount":)" + std::to_string(minCharCount) +
           R"(,"minASCIICount":0,"minMixedCharCount":0,"minNumberCount":0,"minSymbolCount":0,"minUnicodeCount":0},)"
           R"("expirationPolicyParameter":{"policyActive":false,"lockUserActive":false,"daysToExpiration":0,"daysToWarning":0}})";
}

inline String RulesetsBody(std::initializer_list<String> rulesets) {
    String body;
    for (const String& ruleset : rulesets) body += (body.empty() ? "" : ",") + ruleset;
    return R"({"passwordRoleRulesets":[)" + body + "]}";
}

// The other fields are 1, 2, 3, 4 and true, so that a swapped key shows.
inline String SessionPolicyFields(std::uint32_t timeoutInitialSeconds) {
    return R"({"timeoutInitialSeconds":)" + std::to_string(timeoutInitialSeconds) +
           R"(,"timeoutIncrementSeconds":1,"timeoutMaximumSeconds":2,"maxConcurrentSessionsCount":3,)"
           R"("maxSessionTimeMinutes":4,"issueTimeoutToAdminUsers":true})";
}
inline String SessionPolicyBody(std::uint32_t timeout) { return R"({"sessionPolicyParameter":)" + SessionPolicyFields(timeout) + "}"; }

inline String Answer(bool error, const String& errorText, const String& result) {
    return String(R"({"error":)") + (error ? "true" : "false") + R"(,"errorText":")" + errorText + R"(","result":)" + result + "}";
}

// Rulesets are told apart by one distinctive number.
MATCHER_P2(IsRuleset, name, minCharCount, "") {
    return arg.roleRulesetName.ToString() == name && arg.passwordPolicy.minCharCount == std::uint32_t(minCharCount);
}
MATCHER_P(IsSessionPolicy, timeout, "") {
    return arg.timeoutInitialSeconds == std::uint32_t(timeout) && arg.timeoutIncrementSeconds == 1 && arg.timeoutMaximumSeconds == 2 &&
           arg.maxConcurrentSessionsCount == 3 && arg.maxSessionTimeMinutes == 4 && arg.issueTimeoutToAdminUsers;
}

inline Roleruleset MakeRuleset(const char* name, std::uint32_t minCharCount) {
    Roleruleset ruleset;
    ruleset.roleRulesetName = name, ruleset.passwordPolicy.minCharCount = minCharCount;
    return ruleset;
}

struct PolicyHandler : Kyr::Testing::UmHandlerFixture {
    // The service's state when the module is set up.
    static constexpr std::uint32_t setupTimeout = 111, setupAdminMinChars = 8, setupDefaultMinChars = 6;
    const BlockList setupBlockList{"setup-1", "setup-2"};
    // What the service's operations answer; the getters fill their argument also on failure.
    UserManagerConfigError sessionRead{}, blockListRead{}, adminRead{}, defaultRead{};
    UserManagerConfigError sessionWrite{}, blockListWrite{}, adminWrite{}, defaultWrite{};

    testing::NiceMock<Kyr::Testing::MockUserManagerConfigurationService>& config = *services.userManagerConfiguration;

    PolicyHandler() {
        using namespace testing;
        SessionPolicyParameter session{};
        session.timeoutInitialSeconds = setupTimeout, session.timeoutIncrementSeconds = 1, session.timeoutMaximumSeconds = 2;
        session.maxConcurrentSessionsCount = 3, session.maxSessionTimeMinutes = 4, session.issueTimeoutToAdminUsers = true;
        ON_CALL(config, GetSessionPolicyParameter(_)).WillByDefault(DoAll(SetArgReferee<0>(session), ReturnPointee(&sessionRead)));
        ON_CALL(config, GetActivePasswordsBlockList(_)).WillByDefault(DoAll(SetArgReferee<0>(setupBlockList), ReturnPointee(&blockListRead)));
        ON_CALL(config, GetActiveAdminRoleRuleset(_))
            .WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("admin", setupAdminMinChars)), ReturnPointee(&adminRead)));
        ON_CALL(config, GetActiveDefaultRoleRuleset(_))
            .WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("default", setupDefaultMinChars)), ReturnPointee(&defaultRead)));
        ON_CALL(config, SetSessionPolicyParameter(_)).WillByDefault(ReturnPointee(&sessionWrite));
        ON_CALL(config, SetActivePasswordsBlockList(_)).WillByDefault(ReturnPointee(&blockListWrite));
        ON_CALL(config, SetAdminRoleRuleset(_)).WillByDefault(ReturnPointee(&adminWrite));
        ON_CALL(config, SetDefaultRoleRuleset(_)).WillByDefault(ReturnPointee(&defaultWrite));
    }

    static String CallOn(UmHandler& target, const String& function, const String& body = String()) {
        using namespace Kyr::Services::Commons::Wbm::Messages;
        return target.HandleRequest(WbmRequest(function, Kyr::System::Acf::SecurityToken("s"), RequestData(body), RequestParams())).GetBody();
    }
    String Call(const String& function, const String& body = String()) { return CallOn(handler, function, body); }
};

} // namespace PolicyTests
