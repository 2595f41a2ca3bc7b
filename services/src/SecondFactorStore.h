#pragma once
// The second factors' rows: per user the sealed secret, the last accepted time step and the hashes of
// the unused recovery codes. Callers hold the database lock (or a transaction) around every call.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Sqlite.h"

namespace Kyr::PlatformServices {

struct SecondFactorRecord {
    std::string userName;
    bool directoryUser = false;
    std::string sealedSecret;
    std::int64_t lastStep = -1; // -1: none yet
};

class SecondFactorStore {
public:
    explicit SecondFactorStore(Database& database) : database(database) {}

    // The tables, when missing (also in databases made before the second factor existed).
    static void CreateTables(Database& database);

    std::optional<SecondFactorRecord> Find(const std::string& userName);
    std::vector<std::string> UserNames(); // ordered
    void Add(const SecondFactorRecord& record, const std::vector<std::string>& recoveryCodeHashes, std::int64_t now);
    void SetLastStep(const std::string& userName, std::int64_t step);
    // Removes the hash; false when the user has no such unused code.
    bool UseRecoveryCode(const std::string& userName, const std::string& codeHash);
    std::uint32_t CountRecoveryCodes(const std::string& userName);
    // False when the user had none.
    bool Remove(const std::string& userName);

private:
    Database& database;
};

} // namespace Kyr::PlatformServices
