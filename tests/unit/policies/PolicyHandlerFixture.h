#pragma once
// A UmHandler wired to fresh service mocks whose getters answer a known set-up state, with captured
// log lines and security notifications.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "JsonTestSupport.h"
#include "Kyr/System/Commons/Singleton.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/CapturingNotifications.h"
#include "fakes/ScopedServices.h"
#include "handlers/UmHandler.h"
#include "notifications/SecurityNotifications.h"

namespace PolicyTests {

using Kyr::String;
using Kyr::Services::Commons::Wbm::Messages::RequestData;
using Kyr::Services::Commons::Wbm::Messages::RequestParams;
using Kyr::Services::Commons::Wbm::Messages::WbmRequest;
using Kyr::Services::Modules::Wbm::Um::Internal::SecurityNotifications;
using Kyr::Services::Modules::Wbm::Um::Internal::UmHandler;
using Kyr::System::Rsc::RscString;
using Kyr::System::Um::Services::UserManagerConfigError;
using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;
using BlockList = std::vector<RscString<128>>;

inline Roleruleset MakeRuleset(const char* name, std::uint32_t minCharCount) {
    Roleruleset ruleset;
    ruleset.roleRulesetName = name;
    ruleset.passwordPolicy.minCharCount = minCharCount;
    ruleset.passwordPolicy.intervalType = Kyr::System::Um::Services::PasswordPolicyInterval::Day;
    return ruleset;
}

inline SessionPolicyParameter MakeSessionPolicy(std::uint32_t timeoutInitialSeconds) {
    SessionPolicyParameter parameter;
    parameter.timeoutInitialSeconds = timeoutInitialSeconds;
    return parameter;
}

// Rulesets and session policies are told apart by one distinctive number.
MATCHER_P2(IsRuleset, name, minCharCount, "") {
    return arg.roleRulesetName.ToString() == name && arg.passwordPolicy.minCharCount == minCharCount;
}
MATCHER_P(HasInitialTimeout, seconds, "") { return arg.timeoutInitialSeconds == seconds; }
MATCHER_P(HoldsEntries, entries, "") {
    std::vector<String> texts;
    for (const auto& entry : arg) texts.push_back(entry.ToString());
    return texts == std::vector<String>(entries);
}

struct PolicyHandler : testing::Test {
    // The service's state when the module is set up.
    static constexpr std::uint32_t setupTimeout = 111;
    static constexpr std::uint32_t setupAdminMinChars = 8;
    static constexpr std::uint32_t setupDefaultMinChars = 6;
    const std::vector<String> setupBlockList{"setup-1", "setup-2"};

    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::CapturingNotifications notifications;
    Kyr::Testing::ScopedServices services;
    UmHandler handler;
    testing::NiceMock<Kyr::Testing::MockUserManagerConfigurationService>& config = *services.userManagerConfiguration;

    PolicyHandler() {
        using testing::_;
        using testing::DoAll;
        using testing::Return;
        using testing::SetArgReferee;
        Kyr::System::Commons::Singleton<SecurityNotifications>::CreateInstance();
        handler.SubscribeServices();
        BlockList entries(setupBlockList.begin(), setupBlockList.end());
        ON_CALL(config, GetSessionPolicyParameter(_))
            .WillByDefault(DoAll(SetArgReferee<0>(MakeSessionPolicy(setupTimeout)), Return(UserManagerConfigError::NoError)));
        ON_CALL(config, GetActivePasswordsBlockList(_))
            .WillByDefault(DoAll(SetArgReferee<0>(entries), Return(UserManagerConfigError::NoError)));
        ON_CALL(config, GetActiveAdminRoleRuleset(_))
            .WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("admin", setupAdminMinChars)), Return(UserManagerConfigError::NoError)));
        ON_CALL(config, GetActiveDefaultRoleRuleset(_))
            .WillByDefault(DoAll(SetArgReferee<0>(MakeRuleset("default", setupDefaultMinChars)), Return(UserManagerConfigError::NoError)));
    }
    ~PolicyHandler() override { Kyr::System::Commons::Singleton<SecurityNotifications>::DestroyInstance(); }

    String Call(const String& function, const String& body = String()) { return CallOn(handler, function, body); }
    static String CallOn(UmHandler& target, const String& function, const String& body) {
        return target
            .HandleRequest(WbmRequest(function, Kyr::System::Acf::SecurityToken("session-1"), RequestData(body), RequestParams()))
            .GetBody();
    }

    // The invalid-request notifications sent so far, as (request, function).
    std::vector<std::pair<String, String>> InvalidRequests() const {
        std::vector<std::pair<String, String>> sent;
        for (const auto& notification : notifications.GetNotifications())
            sent.emplace_back(notification.InfoValue("request"), notification.InfoValue("function"));
        return sent;
    }
};

inline String Answer(bool error, const String& errorText, const String& result) {
    return String(R"({"error":)") + (error ? "true" : "false") + R"(,"errorText":")" + errorText + R"(","result":)" + result + "}";
}

// Request bodies.
inline String SessionPolicyBody(std::uint32_t timeoutInitialSeconds) {
    return R"({"sessionPolicyParameter":{"timeoutInitialSeconds":)" + std::to_string(timeoutInitialSeconds) +
           R"(,"timeoutIncrementSeconds":1,"timeoutMaximumSeconds":2,"maxConcurrentSessionsCount":3,)"
           R"("maxSessionTimeMinutes":4,"issueTimeoutToAdminUsers":false}})";
}

inline String RulesetJson(const String& name, std::uint32_t minCharCount) {
    return R"({"roleRulesetName":")" + name +
           R"(","passwordPolicyParameter":{"allowedASCIISymbols":"","reusedGenerationCount":0,"allowedPasswordChanges":0,)"
           R"("intervalType":"Day","intervalCount":0,"blockUsername":false,"blockReusedPasswords":false,"checkBlockList":false,)"
           R"("checkPwChangableInterval":false,"minCharCount":)" +
           std::to_string(minCharCount) +
           R"(,"minASCIICount":0,"minMixedCharCount":0,"minNumberCount":0,"minSymbolCount":0,"minUnicodeCount":0},)"
           R"("expirationPolicyParameter":{"policyActive":false,"lockUserActive":false,"daysToExpiration":0,"daysToWarning":0}})";
}

inline String RulesetsBody(const std::vector<String>& rulesets) {
    String body = R"({"passwordRoleRulesets":[)";
    for (std::size_t i = 0; i < rulesets.size(); ++i) body += (i == 0 ? "" : ",") + rulesets[i];
    return body + "]}";
}

} // namespace PolicyTests
