#pragma once
// Reading and writing users, their roles and password history. Callers hold the database lock
// (or a transaction) around every call; times are Unix seconds.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Sqlite.h"

namespace Kyr::PlatformServices {

struct UserRecord {
    std::int64_t id = 0;
    std::string name;
    std::string passwordHash;
    bool initialPassword = false;
    bool adminRuleset = false;
    std::int64_t passwordChangedAt = 0;
};

class UserStore {
public:
    explicit UserStore(Database& database) : database(database) {}

    std::optional<UserRecord> Find(const std::string& name);
    // Whether a user of this name exists, ignoring ASCII case.
    bool NameTaken(const std::string& name);
    std::vector<UserRecord> All(); // ordered by name

    std::int64_t Add(const std::string& name, const std::string& hash, bool adminRuleset, std::int64_t now);
    void Remove(std::int64_t userId);
    // Sets a new password hash and remembers it in the history (trimmed to `historyKept`).
    void SetPassword(std::int64_t userId, const std::string& hash, bool initialPassword, std::int64_t now);
    // Replaces the stored hash `oldHash` with an equivalent one of the current cost; nothing else
    // changes, and nothing at all when the password was changed meanwhile.
    void ReplaceHash(std::int64_t userId, const std::string& oldHash, const std::string& newHash);
    void SetAdminRuleset(std::int64_t userId, bool value);

    // The newest `count` history hashes, the current password's first.
    std::vector<std::string> RecentHashes(std::int64_t userId, std::uint32_t count);
    void RecordOwnChange(std::int64_t userId, std::int64_t now);
    std::uint32_t CountOwnChangesSince(std::int64_t userId, std::int64_t since);

    std::vector<std::string> RolesOf(std::int64_t userId);
    void SetRoles(std::int64_t userId, const std::vector<std::string>& roles);
    std::vector<std::string> AllRoles();
    bool RoleExists(const std::string& role);
    std::uint32_t CountUsersWithRole(const std::string& role);
    // Whether `role` holds `right` on `object` in the role-permission table.
    bool RoleHolds(const std::string& role, const std::string& object, std::uint32_t right);

    static constexpr std::uint32_t HistoryKept = 25;

private:
    Database& database;
};

} // namespace Kyr::PlatformServices
