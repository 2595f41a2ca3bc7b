#include "Schema.h"

#include "ConfigStore.h"
#include "Defaults.h"
#include "SecondFactorStore.h"

namespace Kyr::PlatformServices {

namespace {

constexpr int SchemaVersion = 1;

const char* const Tables = R"SQL(
CREATE TABLE roles(
  name TEXT PRIMARY KEY NOT NULL
);
CREATE TABLE role_permissions(
  role TEXT NOT NULL REFERENCES roles(name) ON DELETE CASCADE,
  object TEXT NOT NULL,
  rights INTEGER NOT NULL,
  PRIMARY KEY(role, object)
);
CREATE TABLE users(
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL UNIQUE,
  password_hash TEXT NOT NULL,
  initial_password INTEGER NOT NULL,
  admin_ruleset INTEGER NOT NULL,
  password_changed_at INTEGER NOT NULL
);
-- Names that differ only in ASCII case would be confusing at login: refuse them.
CREATE UNIQUE INDEX users_name_nocase ON users(name COLLATE NOCASE);
CREATE TABLE user_roles(
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  role TEXT NOT NULL REFERENCES roles(name),
  PRIMARY KEY(user_id, role)
);
-- Every password a user had, the current one included (the reuse rule).
CREATE TABLE password_history(
  id INTEGER PRIMARY KEY,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  password_hash TEXT NOT NULL,
  set_at INTEGER NOT NULL
);
CREATE INDEX password_history_user ON password_history(user_id, id);
-- When the user changed the own password (the changes-per-interval rule).
CREATE TABLE password_changes(
  id INTEGER PRIMARY KEY,
  user_id INTEGER NOT NULL REFERENCES users(id) ON DELETE CASCADE,
  changed_at INTEGER NOT NULL
);
CREATE INDEX password_changes_user ON password_changes(user_id, changed_at);
CREATE TABLE rulesets(
  name TEXT PRIMARY KEY NOT NULL,
  allowed_symbols TEXT NOT NULL,
  reused_generation_count INTEGER NOT NULL,
  allowed_password_changes INTEGER NOT NULL,
  interval_type INTEGER NOT NULL,
  interval_count INTEGER NOT NULL,
  block_username INTEGER NOT NULL,
  block_reused_passwords INTEGER NOT NULL,
  check_block_list INTEGER NOT NULL,
  check_changeable_interval INTEGER NOT NULL,
  min_char_count INTEGER NOT NULL,
  min_ascii_count INTEGER NOT NULL,
  min_mixed_char_count INTEGER NOT NULL,
  min_number_count INTEGER NOT NULL,
  min_symbol_count INTEGER NOT NULL,
  min_unicode_count INTEGER NOT NULL,
  expiration_active INTEGER NOT NULL,
  lock_user_active INTEGER NOT NULL,
  days_to_expiration INTEGER NOT NULL,
  days_to_warning INTEGER NOT NULL
);
CREATE TABLE block_list(
  position INTEGER PRIMARY KEY,
  entry TEXT NOT NULL
);
CREATE TABLE settings(
  key TEXT PRIMARY KEY NOT NULL,
  value INTEGER NOT NULL
);
)SQL";

} // namespace

bool CreateSchema(Database& database) {
    Transaction transaction(database);
    int current = 0;
    {
        Statement version = database.Prepare("PRAGMA user_version");
        if (version.Step()) current = static_cast<int>(version.GetInt(0));
    }
    // Tables added since the first version: made in databases of every age.
    SecondFactorStore::CreateTables(database);
    if (current >= SchemaVersion) {
        transaction.Commit();
        return false;
    }

    database.Execute(Tables);
    for (const DefaultRole& role : DefaultRoles()) {
        database.Prepare("INSERT INTO roles(name) VALUES(?)").Bind(1, std::string(role.name)).Run();
        for (const char* object : role.objects)
            database.Prepare("INSERT INTO role_permissions(role, object, rights) VALUES(?, ?, ?)")
                .Bind(1, std::string(role.name)).Bind(2, std::string(object)).Bind(3, AllRights).Run();
    }
    ConfigStore store(database);
    store.SaveRuleset(DefaultAdminRuleset());
    store.SaveRuleset(DefaultDefaultRuleset());
    store.SaveBlockList(DefaultBlockList());
    store.SaveSessionPolicy(DefaultSessionPolicy());
    store.SetSetting(SettingAuthenticationRequired, 1);
    store.SetSetting(SettingLdapEnabled, 0);
    database.Execute("PRAGMA user_version=" + std::to_string(SchemaVersion));
    transaction.Commit();
    return true;
}

} // namespace Kyr::PlatformServices
