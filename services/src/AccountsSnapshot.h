#pragma once
// What every request asks about the accounts, kept in memory: the users with their roles and password
// dates, the roles and their permissions, the rulesets' expiry, the login requirement and the session
// policy. The services load it again after every committed write (they are the only writer), so that
// the per-request checks and the reading functions never wait for the database.
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Kyr/System/Um/Services/UmStructs.h"
#include "PasswordExpiry.h"
#include "Sqlite.h"

namespace Kyr::PlatformServices {

struct AccountEntry {
    std::string name;
    bool initialPassword = false;
    bool adminRuleset = false;
    std::int64_t passwordChangedAt = 0;
    std::vector<std::string> roles; // sorted
    bool HoldsRole(const std::string& role) const;
};

struct AccountsSnapshot {
    std::vector<AccountEntry> users; // ordered by name
    std::vector<std::string> roles;  // ordered by name
    std::map<std::pair<std::string, std::string>, std::uint32_t> rights; // (role, object) -> rights
    ExpirationPolicyParameter adminExpiry, defaultExpiry;
    bool authenticationRequiredSetting = true; // as stored; the device may not allow switching it off
    Kyr::System::Um::Services::Internal::SessionPolicyParameter sessionPolicy;

    const AccountEntry* Find(const std::string& name) const;
    bool RoleHolds(const std::string& role, const std::string& object, std::uint32_t right) const;
    PasswordAge AgeOf(const AccountEntry& user, std::int64_t now) const;
};

// Reads the snapshot; the caller holds the database lock.
std::shared_ptr<const AccountsSnapshot> LoadAccountsSnapshot(Database& database);

// The current snapshot, swapped whole after each write; readers keep the one they took.
class AccountsCache {
public:
    // Loads it now and after every write to `database`.
    explicit AccountsCache(Database& database);
    // Never waits for the database, except when the last load failed: then it reads the database
    // itself (and throws DatabaseError when that fails too). Hold the answer while reading what it
    // points to: a write may replace the current snapshot at any time.
    std::shared_ptr<const AccountsSnapshot> Current();

private:
    void Reload();

    Database& database;
    mutable std::mutex mutex; // guards only the pointer: never held while the database is read
    std::shared_ptr<const AccountsSnapshot> current;
};

} // namespace Kyr::PlatformServices
