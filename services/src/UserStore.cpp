#include "UserStore.h"

namespace Kyr::PlatformServices {

namespace {
constexpr const char* UserColumns = "SELECT id, name, password_hash, initial_password, admin_ruleset, password_changed_at FROM users";

UserRecord ReadUser(const Statement& row) {
    UserRecord user;
    user.id = row.GetInt(0);
    user.name = row.GetText(1);
    user.passwordHash = row.GetText(2);
    user.initialPassword = row.GetInt(3) != 0;
    user.adminRuleset = row.GetInt(4) != 0;
    user.passwordChangedAt = row.GetInt(5);
    return user;
}
} // namespace

std::optional<UserRecord> UserStore::Find(const std::string& name) {
    Statement row = database.Prepare(std::string(UserColumns) + " WHERE name = ?");
    row.Bind(1, name);
    if (!row.Step()) return std::nullopt;
    return ReadUser(row);
}

bool UserStore::NameTaken(const std::string& name) {
    Statement row = database.Prepare("SELECT 1 FROM users WHERE name = ? COLLATE NOCASE");
    row.Bind(1, name);
    return row.Step();
}

std::vector<UserRecord> UserStore::All() {
    std::vector<UserRecord> users;
    Statement rows = database.Prepare(std::string(UserColumns) + " ORDER BY name");
    while (rows.Step()) users.push_back(ReadUser(rows));
    return users;
}

std::int64_t UserStore::Add(const std::string& name, const std::string& hash, bool adminRuleset, std::int64_t now) {
    database
        .Prepare("INSERT INTO users(name, password_hash, initial_password, admin_ruleset, password_changed_at)"
                 " VALUES(?, ?, 1, ?, ?)")
        .Bind(1, name).Bind(2, hash).Bind(3, adminRuleset ? 1 : 0).Bind(4, now).Run();
    std::int64_t id = database.LastInsertRowId();
    database.Prepare("INSERT INTO password_history(user_id, password_hash, set_at) VALUES(?, ?, ?)")
        .Bind(1, id).Bind(2, hash).Bind(3, now).Run();
    return id;
}

void UserStore::Remove(std::int64_t userId) {
    database.Prepare("DELETE FROM users WHERE id = ?").Bind(1, userId).Run();
}

void UserStore::SetPassword(std::int64_t userId, const std::string& hash, bool initialPassword, std::int64_t now) {
    database.Prepare("UPDATE users SET password_hash = ?, initial_password = ?, password_changed_at = ? WHERE id = ?")
        .Bind(1, hash).Bind(2, initialPassword ? 1 : 0).Bind(3, now).Bind(4, userId).Run();
    database.Prepare("INSERT INTO password_history(user_id, password_hash, set_at) VALUES(?, ?, ?)")
        .Bind(1, userId).Bind(2, hash).Bind(3, now).Run();
    database
        .Prepare("DELETE FROM password_history WHERE user_id = ? AND id NOT IN"
                 " (SELECT id FROM password_history WHERE user_id = ? ORDER BY id DESC LIMIT ?)")
        .Bind(1, userId).Bind(2, userId).Bind(3, static_cast<std::int64_t>(HistoryKept)).Run();
}

void UserStore::ReplaceHash(std::int64_t userId, const std::string& oldHash, const std::string& newHash) {
    database.Prepare("UPDATE users SET password_hash = ? WHERE id = ? AND password_hash = ?")
        .Bind(1, newHash).Bind(2, userId).Bind(3, oldHash).Run();
}

void UserStore::SetAdminRuleset(std::int64_t userId, bool value) {
    database.Prepare("UPDATE users SET admin_ruleset = ? WHERE id = ?").Bind(1, value ? 1 : 0).Bind(2, userId).Run();
}

std::vector<std::string> UserStore::RecentHashes(std::int64_t userId, std::uint32_t count) {
    std::vector<std::string> hashes;
    Statement rows = database.Prepare("SELECT password_hash FROM password_history WHERE user_id = ? ORDER BY id DESC LIMIT ?");
    rows.Bind(1, userId).Bind(2, static_cast<std::int64_t>(count));
    while (rows.Step()) hashes.push_back(rows.GetText(0));
    return hashes;
}

void UserStore::RecordOwnChange(std::int64_t userId, std::int64_t now) {
    database.Prepare("INSERT INTO password_changes(user_id, changed_at) VALUES(?, ?)").Bind(1, userId).Bind(2, now).Run();
}

std::uint32_t UserStore::CountOwnChangesSince(std::int64_t userId, std::int64_t since) {
    Statement row = database.Prepare("SELECT COUNT(*) FROM password_changes WHERE user_id = ? AND changed_at > ?");
    row.Bind(1, userId).Bind(2, since);
    return row.Step() ? static_cast<std::uint32_t>(row.GetInt(0)) : 0;
}

std::vector<std::string> UserStore::RolesOf(std::int64_t userId) {
    std::vector<std::string> roles;
    Statement rows = database.Prepare("SELECT role FROM user_roles WHERE user_id = ? ORDER BY role");
    rows.Bind(1, userId);
    while (rows.Step()) roles.push_back(rows.GetText(0));
    return roles;
}

void UserStore::SetRoles(std::int64_t userId, const std::vector<std::string>& roles) {
    database.Prepare("DELETE FROM user_roles WHERE user_id = ?").Bind(1, userId).Run();
    for (const std::string& role : roles)
        database.Prepare("INSERT OR IGNORE INTO user_roles(user_id, role) VALUES(?, ?)").Bind(1, userId).Bind(2, role).Run();
}

std::vector<std::string> UserStore::AllRoles() {
    std::vector<std::string> roles;
    Statement rows = database.Prepare("SELECT name FROM roles ORDER BY name");
    while (rows.Step()) roles.push_back(rows.GetText(0));
    return roles;
}

bool UserStore::RoleExists(const std::string& role) {
    Statement row = database.Prepare("SELECT 1 FROM roles WHERE name = ?");
    row.Bind(1, role);
    return row.Step();
}

std::uint32_t UserStore::CountUsersWithRole(const std::string& role) {
    Statement row = database.Prepare("SELECT COUNT(*) FROM user_roles WHERE role = ?");
    row.Bind(1, role);
    return row.Step() ? static_cast<std::uint32_t>(row.GetInt(0)) : 0;
}

bool UserStore::RoleHolds(const std::string& role, const std::string& object, std::uint32_t right) {
    Statement row = database.Prepare("SELECT rights FROM role_permissions WHERE role = ? AND object = ?");
    row.Bind(1, role).Bind(2, object);
    return row.Step() && (static_cast<std::uint32_t>(row.GetInt(0)) & right) == right;
}

} // namespace Kyr::PlatformServices
