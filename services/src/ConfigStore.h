#pragma once
// Reading and writing the configuration tables: rulesets, block list, session policy, settings.
// Callers hold the database lock (or a transaction) around every call.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Kyr/System/Um/Services/UmStructs.h"
#include "Sqlite.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;

class ConfigStore {
public:
    explicit ConfigStore(Database& database) : database(database) {}

    std::optional<Roleruleset> LoadRuleset(const std::string& name);
    void SaveRuleset(const Roleruleset& ruleset);

    std::vector<std::string> LoadBlockList();
    void SaveBlockList(const std::vector<std::string>& entries);

    SessionPolicyParameter LoadSessionPolicy();
    void SaveSessionPolicy(const SessionPolicyParameter& policy);

    std::int64_t GetSetting(const std::string& key, std::int64_t fallback);
    void SetSetting(const std::string& key, std::int64_t value);

private:
    Database& database;
};

} // namespace Kyr::PlatformServices
