#include "AccountsSnapshot.h"

#include <algorithm>

#include "ConfigStore.h"
#include "Defaults.h"
#include "Schema.h"

namespace Kyr::PlatformServices {

bool AccountEntry::HoldsRole(const std::string& role) const { return std::binary_search(roles.begin(), roles.end(), role); }

const AccountEntry* AccountsSnapshot::Find(const std::string& name) const {
    auto found = std::lower_bound(users.begin(), users.end(), name,
                                  [](const AccountEntry& user, const std::string& key) { return user.name < key; });
    return found != users.end() && found->name == name ? &*found : nullptr;
}

bool AccountsSnapshot::RoleHolds(const std::string& role, const std::string& object, std::uint32_t right) const {
    auto found = rights.find({role, object});
    return found != rights.end() && (found->second & right) == right;
}

PasswordAge AccountsSnapshot::AgeOf(const AccountEntry& user, std::int64_t now) const {
    return ComputePasswordAge(user.adminRuleset ? adminExpiry : defaultExpiry, user.passwordChangedAt, now);
}

std::shared_ptr<const AccountsSnapshot> LoadAccountsSnapshot(Database& database) {
    auto snapshot = std::make_shared<AccountsSnapshot>();
    std::map<std::int64_t, std::size_t> indexOfId;
    {
        // Byte order of names, as the lookups compare them.
        Statement rows = database.Prepare(
            "SELECT id, name, initial_password, admin_ruleset, password_changed_at FROM users ORDER BY name COLLATE BINARY");
        while (rows.Step()) {
            AccountEntry user;
            user.name = rows.GetText(1);
            user.initialPassword = rows.GetInt(2) != 0;
            user.adminRuleset = rows.GetInt(3) != 0;
            user.passwordChangedAt = rows.GetInt(4);
            indexOfId[rows.GetInt(0)] = snapshot->users.size();
            snapshot->users.push_back(std::move(user));
        }
    }
    {
        Statement rows = database.Prepare("SELECT user_id, role FROM user_roles ORDER BY role COLLATE BINARY");
        while (rows.Step()) {
            auto index = indexOfId.find(rows.GetInt(0));
            if (index != indexOfId.end()) snapshot->users[index->second].roles.push_back(rows.GetText(1));
        }
    }
    {
        Statement rows = database.Prepare("SELECT name FROM roles ORDER BY name");
        while (rows.Step()) snapshot->roles.push_back(rows.GetText(0));
    }
    {
        Statement rows = database.Prepare("SELECT role, object, rights FROM role_permissions");
        while (rows.Step())
            snapshot->rights[{rows.GetText(0), rows.GetText(1)}] = static_cast<std::uint32_t>(rows.GetInt(2));
    }
    ConfigStore config(database);
    auto expiryOf = [&](const char* name, Roleruleset (*fallback)()) {
        std::optional<Roleruleset> ruleset = config.LoadRuleset(name);
        return (ruleset ? *ruleset : fallback()).expirationPolicy;
    };
    snapshot->adminExpiry = expiryOf(AdminRulesetName, DefaultAdminRuleset);
    snapshot->defaultExpiry = expiryOf(DefaultRulesetName, DefaultDefaultRuleset);
    snapshot->authenticationRequiredSetting = config.GetSetting(SettingAuthenticationRequired, 1) != 0;
    snapshot->sessionPolicy = config.LoadSessionPolicy();
    return snapshot;
}

AccountsCache::AccountsCache(Database& database) : database(database) {
    auto lock = database.Lock();
    Reload();
    database.SetAfterWriteListener([this] { Reload(); });
}

std::shared_ptr<const AccountsSnapshot> AccountsCache::Current() {
    {
        std::lock_guard<std::mutex> guard(mutex);
        if (current) return current;
    }
    auto lock = database.Lock();
    return LoadAccountsSnapshot(database);
}

void AccountsCache::Reload() {
    std::shared_ptr<const AccountsSnapshot> loaded;
    try {
        loaded = LoadAccountsSnapshot(database);
    } catch (const DatabaseError&) {
        // Without a snapshot the readers go to the database themselves: slower, never stale.
    }
    std::lock_guard<std::mutex> guard(mutex);
    current = std::move(loaded);
}

} // namespace Kyr::PlatformServices
