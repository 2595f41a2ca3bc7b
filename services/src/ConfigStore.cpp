#include "ConfigStore.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::PasswordPolicyInterval;

namespace {
constexpr const char* SessionKeys[] = {"session.timeoutInitialSeconds", "session.timeoutIncrementSeconds",
                                       "session.timeoutMaximumSeconds", "session.maxConcurrentSessionsCount",
                                       "session.maxSessionTimeMinutes", "session.issueTimeoutToAdminUsers"};
}

std::optional<Roleruleset> ConfigStore::LoadRuleset(const std::string& name) {
    Statement row = database.Prepare(
        "SELECT allowed_symbols, reused_generation_count, allowed_password_changes, interval_type, interval_count,"
        " block_username, block_reused_passwords, check_block_list, check_changeable_interval, min_char_count,"
        " min_ascii_count, min_mixed_char_count, min_number_count, min_symbol_count, min_unicode_count,"
        " expiration_active, lock_user_active, days_to_expiration, days_to_warning FROM rulesets WHERE name = ?");
    row.Bind(1, name);
    if (!row.Step()) return std::nullopt;
    Roleruleset ruleset;
    ruleset.roleRulesetName = name;
    auto& p = ruleset.passwordPolicy;
    auto u32 = [&](int column) { return static_cast<std::uint32_t>(row.GetInt(column)); };
    p.allowedASCIISymbols = row.GetText(0);
    p.reusedGenerationCount = u32(1);
    p.allowedPasswordChanges = u32(2);
    p.intervalType = static_cast<PasswordPolicyInterval>(u32(3));
    p.intervalCount = u32(4);
    p.blockUsername = row.GetInt(5) != 0;
    p.blockReusedPasswords = row.GetInt(6) != 0;
    p.checkBlockList = row.GetInt(7) != 0;
    p.checkPwChangableInterval = row.GetInt(8) != 0;
    p.minCharCount = u32(9);
    p.minASCIICount = u32(10);
    p.minMixedCharCount = u32(11);
    p.minNumberCount = u32(12);
    p.minSymbolCount = u32(13);
    p.minUnicodeCount = u32(14);
    auto& e = ruleset.expirationPolicy;
    e.policyActive = row.GetInt(15) != 0;
    e.lockUserActive = row.GetInt(16) != 0;
    e.daysToExpiration = u32(17);
    e.daysToWarning = u32(18);
    return ruleset;
}

void ConfigStore::SaveRuleset(const Roleruleset& ruleset) {
    const auto& p = ruleset.passwordPolicy;
    const auto& e = ruleset.expirationPolicy;
    Statement row = database.Prepare(
        "INSERT OR REPLACE INTO rulesets(name, allowed_symbols, reused_generation_count, allowed_password_changes,"
        " interval_type, interval_count, block_username, block_reused_passwords, check_block_list,"
        " check_changeable_interval, min_char_count, min_ascii_count, min_mixed_char_count, min_number_count,"
        " min_symbol_count, min_unicode_count, expiration_active, lock_user_active, days_to_expiration,"
        " days_to_warning) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    row.Bind(1, ruleset.roleRulesetName.ToString()).Bind(2, p.allowedASCIISymbols.ToString());
    std::int64_t values[] = {p.reusedGenerationCount, p.allowedPasswordChanges, static_cast<std::int64_t>(p.intervalType),
                             p.intervalCount, p.blockUsername, p.blockReusedPasswords, p.checkBlockList,
                             p.checkPwChangableInterval, p.minCharCount, p.minASCIICount, p.minMixedCharCount,
                             p.minNumberCount, p.minSymbolCount, p.minUnicodeCount, e.policyActive, e.lockUserActive,
                             e.daysToExpiration, e.daysToWarning};
    int index = 3;
    for (std::int64_t value : values) row.Bind(index++, value);
    row.Run();
}

std::vector<std::string> ConfigStore::LoadBlockList() {
    std::vector<std::string> entries;
    Statement rows = database.Prepare("SELECT entry FROM block_list ORDER BY position");
    while (rows.Step()) entries.push_back(rows.GetText(0));
    return entries;
}

void ConfigStore::SaveBlockList(const std::vector<std::string>& entries) {
    database.Prepare("DELETE FROM block_list").Run();
    std::int64_t position = 0;
    for (const std::string& entry : entries)
        database.Prepare("INSERT INTO block_list(position, entry) VALUES(?, ?)").Bind(1, position++).Bind(2, entry).Run();
}

SessionPolicyParameter ConfigStore::LoadSessionPolicy() {
    SessionPolicyParameter policy;
    auto u32 = [&](int index) { return static_cast<std::uint32_t>(GetSetting(SessionKeys[index], 0)); };
    policy.timeoutInitialSeconds = u32(0);
    policy.timeoutIncrementSeconds = u32(1);
    policy.timeoutMaximumSeconds = u32(2);
    policy.maxConcurrentSessionsCount = u32(3);
    policy.maxSessionTimeMinutes = u32(4);
    policy.issueTimeoutToAdminUsers = u32(5) != 0;
    return policy;
}

void ConfigStore::SaveSessionPolicy(const SessionPolicyParameter& policy) {
    std::int64_t values[] = {policy.timeoutInitialSeconds, policy.timeoutIncrementSeconds, policy.timeoutMaximumSeconds,
                             policy.maxConcurrentSessionsCount, policy.maxSessionTimeMinutes,
                             policy.issueTimeoutToAdminUsers};
    for (int i = 0; i < 6; ++i) SetSetting(SessionKeys[i], values[i]);
}

std::int64_t ConfigStore::GetSetting(const std::string& key, std::int64_t fallback) {
    Statement row = database.Prepare("SELECT value FROM settings WHERE key = ?");
    row.Bind(1, key);
    return row.Step() ? row.GetInt(0) : fallback;
}

void ConfigStore::SetSetting(const std::string& key, std::int64_t value) {
    database.Prepare("INSERT OR REPLACE INTO settings(key, value) VALUES(?, ?)").Bind(1, key).Bind(2, value).Run();
}

} // namespace Kyr::PlatformServices
