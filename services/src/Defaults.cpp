#include "Defaults.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::PasswordPolicyInterval;

const std::vector<DefaultRole>& DefaultRoles() {
    // "Admin" holds every object without table rows; "Unauthenticated" holds nothing until an
    // administrator grants it something. The others are for day-to-day work on the device.
    static const std::vector<DefaultRole> roles = {
        {"Admin", {}},
        {"Engineer", {"kyr.services.wbm/configuration", "kyr.services.wbm/operation", "kyr.services.wbm/monitoring"}},
        {"Operator", {"kyr.services.wbm/operation", "kyr.services.wbm/monitoring"}},
        {"Observer", {"kyr.services.wbm/monitoring"}},
        {"Unauthenticated", {}},
    };
    return roles;
}

namespace {
Roleruleset MakeRuleset(const char* name, std::uint32_t minChars, std::uint32_t minSymbols,
                        std::uint32_t reusedGenerations) {
    Roleruleset ruleset;
    ruleset.roleRulesetName = name;
    auto& policy = ruleset.passwordPolicy;
    policy.allowedASCIISymbols = "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";
    policy.reusedGenerationCount = reusedGenerations;
    policy.allowedPasswordChanges = 5;
    policy.intervalType = PasswordPolicyInterval::Day;
    policy.intervalCount = 1;
    policy.blockUsername = true;
    policy.blockReusedPasswords = true;
    policy.checkBlockList = true;
    policy.checkPwChangableInterval = false;
    policy.minCharCount = minChars;
    policy.minASCIICount = 0;
    policy.minMixedCharCount = 1;
    policy.minNumberCount = 1;
    policy.minSymbolCount = minSymbols;
    policy.minUnicodeCount = 0;
    auto& expiration = ruleset.expirationPolicy;
    expiration.policyActive = false;
    expiration.lockUserActive = false;
    expiration.daysToExpiration = 90;
    expiration.daysToWarning = 14;
    return ruleset;
}
} // namespace

Roleruleset DefaultAdminRuleset() { return MakeRuleset(AdminRulesetName, 12, 1, 5); }
Roleruleset DefaultDefaultRuleset() { return MakeRuleset(DefaultRulesetName, 8, 0, 3); }

std::vector<std::string> DefaultBlockList() {
    return {"password", "password1", "passw0rd", "123456789", "12345678", "qwertz123", "qwerty123",
            "letmein", "welcome1", "administrator", "changeme", "Admin123!", "Password123!"};
}

SessionPolicyParameter DefaultSessionPolicy() {
    SessionPolicyParameter policy;
    policy.timeoutInitialSeconds = 5;
    policy.timeoutIncrementSeconds = 5;
    policy.timeoutMaximumSeconds = 60;
    policy.maxConcurrentSessionsCount = 5;
    policy.maxSessionTimeMinutes = 480;
    policy.issueTimeoutToAdminUsers = true;
    return policy;
}

} // namespace Kyr::PlatformServices
