#include "SecondFactorStore.h"

namespace Kyr::PlatformServices {

namespace {
// Keyed by the login name: a directory user and a later local user of the same name are one row,
// and adding or removing a local user removes it (see UserManagementService).
const char* const Tables = R"SQL(
CREATE TABLE IF NOT EXISTS second_factors(
  user_name TEXT PRIMARY KEY NOT NULL,
  directory_user INTEGER NOT NULL,
  sealed_secret TEXT NOT NULL,
  last_step INTEGER NOT NULL,
  enrolled_at INTEGER NOT NULL
);
CREATE TABLE IF NOT EXISTS second_factor_recovery_codes(
  user_name TEXT NOT NULL REFERENCES second_factors(user_name) ON DELETE CASCADE,
  code_hash TEXT NOT NULL,
  PRIMARY KEY(user_name, code_hash)
);
)SQL";
} // namespace

void SecondFactorStore::CreateTables(Database& database) { database.Execute(Tables); }

std::optional<SecondFactorRecord> SecondFactorStore::Find(const std::string& userName) {
    Statement row = database.Prepare("SELECT directory_user, sealed_secret, last_step FROM second_factors WHERE user_name = ?");
    row.Bind(1, userName);
    if (!row.Step()) return std::nullopt;
    SecondFactorRecord record;
    record.userName = userName;
    record.directoryUser = row.GetInt(0) != 0;
    record.sealedSecret = row.GetText(1);
    record.lastStep = row.GetInt(2);
    return record;
}

std::vector<std::string> SecondFactorStore::UserNames() {
    std::vector<std::string> names;
    Statement rows = database.Prepare("SELECT user_name FROM second_factors ORDER BY user_name");
    while (rows.Step()) names.push_back(rows.GetText(0));
    return names;
}

void SecondFactorStore::Add(const SecondFactorRecord& record, const std::vector<std::string>& recoveryCodeHashes, std::int64_t now) {
    database
        .Prepare("INSERT INTO second_factors(user_name, directory_user, sealed_secret, last_step, enrolled_at) VALUES(?, ?, ?, ?, ?)")
        .Bind(1, record.userName).Bind(2, std::int64_t{record.directoryUser ? 1 : 0}).Bind(3, record.sealedSecret)
        .Bind(4, record.lastStep).Bind(5, now).Run();
    for (const std::string& hash : recoveryCodeHashes)
        database.Prepare("INSERT OR IGNORE INTO second_factor_recovery_codes(user_name, code_hash) VALUES(?, ?)")
            .Bind(1, record.userName).Bind(2, hash).Run();
}

void SecondFactorStore::SetLastStep(const std::string& userName, std::int64_t step) {
    database.Prepare("UPDATE second_factors SET last_step = ? WHERE user_name = ?").Bind(1, step).Bind(2, userName).Run();
}

bool SecondFactorStore::UseRecoveryCode(const std::string& userName, const std::string& codeHash) {
    database.Prepare("DELETE FROM second_factor_recovery_codes WHERE user_name = ? AND code_hash = ?")
        .Bind(1, userName).Bind(2, codeHash).Run();
    return database.Changes() > 0;
}

std::uint32_t SecondFactorStore::CountRecoveryCodes(const std::string& userName) {
    Statement row = database.Prepare("SELECT count(*) FROM second_factor_recovery_codes WHERE user_name = ?");
    row.Bind(1, userName);
    return row.Step() ? static_cast<std::uint32_t>(row.GetInt(0)) : 0;
}

bool SecondFactorStore::Remove(const std::string& userName) {
    database.Prepare("DELETE FROM second_factors WHERE user_name = ?").Bind(1, userName).Run();
    return database.Changes() > 0;
}

} // namespace Kyr::PlatformServices
