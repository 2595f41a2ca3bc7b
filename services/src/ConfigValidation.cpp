#include "ConfigValidation.h"

#include <algorithm>

#include "PasswordRules.h"
#include "Schema.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::PasswordPolicyInterval;

namespace {

constexpr std::uint32_t MaxPasswordBytes = 127;
constexpr std::uint32_t MaxReusedGenerations = 24; // each remembered password costs one hash check
constexpr std::uint32_t MaxIntervalValue = 1000;
constexpr std::uint32_t MaxDays = 3650;
constexpr std::size_t MaxBlockListEntries = 10000;

bool HasControlCharacter(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) {
        auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F;
    });
}

UserManagerConfigError ValidateSymbols(const std::string& symbols) {
    for (char c : symbols) {
        bool printable = c >= 0x20 && c <= 0x7E;
        bool alphanumeric = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (!printable || alphanumeric) return UserManagerConfigError::InvalidSymbolSet;
    }
    return UserManagerConfigError::NoError;
}

} // namespace

UserManagerConfigError ValidateRuleset(const Roleruleset& ruleset, const std::string& expectedName) {
    using E = UserManagerConfigError;
    if (ruleset.roleRulesetName.ToString() != expectedName) return E::RulesetNameMismatch;
    const auto& p = ruleset.passwordPolicy;
    const auto& e = ruleset.expirationPolicy;
    std::string symbols = p.allowedASCIISymbols.ToString();
    if (ValidateSymbols(symbols) != E::NoError) return E::InvalidSymbolSet;
    if (p.minSymbolCount > 0 && symbols.empty()) return E::InvalidSymbolSet;
    if (static_cast<std::uint32_t>(p.intervalType) > static_cast<std::uint32_t>(PasswordPolicyInterval::Month))
        return E::InvalidArgument;

    const std::uint32_t counts[] = {p.minCharCount, p.minASCIICount, p.minMixedCharCount,
                                    p.minNumberCount, p.minSymbolCount, p.minUnicodeCount};
    if (p.minCharCount < 1 || std::any_of(std::begin(counts), std::end(counts), [](std::uint32_t n) { return n > MaxPasswordBytes; }))
        return E::ValueOutOfRange;
    if (p.reusedGenerationCount > MaxReusedGenerations) return E::ValueOutOfRange;
    if (p.allowedPasswordChanges > MaxIntervalValue || p.intervalCount > MaxIntervalValue) return E::ValueOutOfRange;
    if (p.checkPwChangableInterval && (p.allowedPasswordChanges < 1 || p.intervalCount < 1)) return E::ValueOutOfRange;
    // The smallest password that meets every minimum must fit the 127 bytes a password may have
    // (a non-ASCII character takes at least two bytes).
    std::uint64_t letters = std::max<std::uint64_t>(p.minASCIICount, 2ull * p.minMixedCharCount);
    std::uint64_t smallest = letters + p.minNumberCount + p.minSymbolCount + 2ull * p.minUnicodeCount;
    if (smallest > MaxPasswordBytes) return E::MinimumCountsExceedLength;

    if (e.daysToExpiration > MaxDays || e.daysToWarning > MaxDays) return E::ValueOutOfRange;
    if (e.policyActive) {
        if (e.daysToExpiration < 1) return E::ValueOutOfRange;
        if (e.daysToWarning >= e.daysToExpiration) return E::WarningDaysNotBelowExpirationDays;
    }
    return E::NoError;
}

UserManagerConfigError ValidateBlockList(const std::vector<std::string>& entries) {
    if (entries.size() > MaxBlockListEntries) return UserManagerConfigError::ValueOutOfRange;
    for (const std::string& entry : entries)
        if (entry.empty() || HasControlCharacter(entry) || !IsValidUtf8(entry))
            return UserManagerConfigError::InvalidBlockListEntry;
    return UserManagerConfigError::NoError;
}

UserManagerConfigError ValidateSessionPolicy(const SessionPolicyParameter& policy) {
    using E = UserManagerConfigError;
    constexpr std::uint32_t MaxTimeoutSeconds = 86400;
    constexpr std::uint32_t MaxSessions = 100;
    constexpr std::uint32_t MaxSessionMinutes = 43200; // 30 days
    if (policy.timeoutMaximumSeconds > MaxTimeoutSeconds) return E::ValueOutOfRange;
    if (policy.timeoutInitialSeconds > policy.timeoutMaximumSeconds) return E::InitialTimeoutAboveMaximum;
    if (policy.timeoutIncrementSeconds > policy.timeoutMaximumSeconds) return E::IncrementAboveMaximum;
    if (policy.maxConcurrentSessionsCount < 1 || policy.maxConcurrentSessionsCount > MaxSessions) return E::ValueOutOfRange;
    if (policy.maxSessionTimeMinutes < 1 || policy.maxSessionTimeMinutes > MaxSessionMinutes) return E::ValueOutOfRange;
    return E::NoError;
}

bool IsValidUserName(const std::string& name) {
    if (name.empty() || name.size() > 63) return false;
    if (HasControlCharacter(name) || !IsValidUtf8(name)) return false;
    if (name.find_first_of("/:") != std::string::npos) return false;
    if (name.front() == ' ' || name.back() == ' ') return false;
    return name != UnauthenticatedRole;
}

} // namespace Kyr::PlatformServices
