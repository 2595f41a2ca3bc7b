#include "UserManagerConfigurationService.h"

#include <cerrno>
#include <filesystem>

#include "AtomicFile.h"
#include "ConfigStore.h"
#include "ConfigValidation.h"
#include "Defaults.h"
#include "DirectoryConfigStore.h"
#include "PasswordRules.h"

namespace Kyr::PlatformServices {

using Um::UserManagerConfigError;
using E = Um::UserManagerConfigError;

namespace {
constexpr std::size_t MaxLdapConfigurationBytes = 1u << 20;

// Why the calling thread's last LDAP configuration upload was refused.
std::string& LdapErrorText() {
    thread_local std::string text;
    return text;
}

UserManagerConfigError RefuseLdap(UserManagerConfigError code, const std::string& text) {
    LdapErrorText() = text;
    return code;
}
} // namespace

std::string UserManagerConfigurationService::GetLdapConfigurationErrorText() { return LdapErrorText(); }

UserManagerConfigurationService::UserManagerConfigurationService(std::shared_ptr<ServiceContext> context)
    : context(std::move(context)), database(this->context->database) {}

template <class Operation>
UserManagerConfigError UserManagerConfigurationService::Guarded(const char* name, Operation&& operation) {
    try {
        return operation();
    } catch (const DatabaseError& error) {
        LogError("{0} failed: {1}", name, error.what());
        return E::DatabaseError;
    } catch (const std::exception& error) {
        LogError("{0} failed: {1}", name, error.what());
        return E::UnknownError;
    }
}

UserManagerConfigError UserManagerConfigurationService::GetRuleset(const char* name, Um::Internal::Roleruleset& ruleset) {
    return Guarded("GetRuleset", [&] {
        auto lock = database.Lock();
        std::optional<Um::Internal::Roleruleset> stored = ConfigStore(database).LoadRuleset(name);
        if (!stored) return E::NotFound;
        ruleset = *stored;
        return E::NoError;
    });
}

UserManagerConfigError UserManagerConfigurationService::SetRuleset(const char* name,
                                                                   const Um::Internal::Roleruleset& ruleset) {
    UserManagerConfigError error = ValidateRuleset(ruleset, name);
    if (error != E::NoError) {
        LogError("Ruleset '{0}' refused: {1}", name, error);
        return error;
    }
    return Guarded("SetRuleset", [&] {
        Transaction transaction(database);
        ConfigStore(database).SaveRuleset(ruleset);
        transaction.Commit();
        LogInfo("Password ruleset '{0}' stored", name);
        return E::NoError;
    });
}

UserManagerConfigError UserManagerConfigurationService::GetActiveAdminRoleRuleset(Um::Internal::Roleruleset& ruleset) {
    return GetRuleset(AdminRulesetName, ruleset);
}

UserManagerConfigError UserManagerConfigurationService::GetActiveDefaultRoleRuleset(Um::Internal::Roleruleset& ruleset) {
    return GetRuleset(DefaultRulesetName, ruleset);
}

UserManagerConfigError UserManagerConfigurationService::SetAdminRoleRuleset(const Um::Internal::Roleruleset& ruleset) {
    return SetRuleset(AdminRulesetName, ruleset);
}

UserManagerConfigError UserManagerConfigurationService::SetDefaultRoleRuleset(const Um::Internal::Roleruleset& ruleset) {
    return SetRuleset(DefaultRulesetName, ruleset);
}

UserManagerConfigError UserManagerConfigurationService::GetActivePasswordsBlockList(std::vector<RscString<128>>& blockList) {
    return Guarded("GetActivePasswordsBlockList", [&] {
        auto lock = database.Lock();
        std::vector<RscString<128>> entries;
        for (const std::string& entry : ConfigStore(database).LoadBlockList()) entries.emplace_back(entry);
        blockList = std::move(entries);
        return E::NoError;
    });
}

UserManagerConfigError UserManagerConfigurationService::SetActivePasswordsBlockList(
    const std::vector<RscString<128>>& blockList) {
    std::vector<std::string> entries;
    for (const auto& entry : blockList) entries.push_back(entry.ToString());
    UserManagerConfigError error = ValidateBlockList(entries);
    if (error != E::NoError) return error;
    return Guarded("SetActivePasswordsBlockList", [&] {
        Transaction transaction(database);
        ConfigStore(database).SaveBlockList(entries);
        transaction.Commit();
        LogInfo("Password block list stored ({0} entries)", entries.size());
        return E::NoError;
    });
}

UserManagerConfigError UserManagerConfigurationService::GetSessionPolicyParameter(
    Um::Internal::SessionPolicyParameter& parameter) {
    return Guarded("GetSessionPolicyParameter", [&] {
        parameter = context->accounts.Current()->sessionPolicy;
        return E::NoError;
    });
}

UserManagerConfigError UserManagerConfigurationService::SetSessionPolicyParameter(
    const Um::Internal::SessionPolicyParameter& parameter) {
    UserManagerConfigError error = ValidateSessionPolicy(parameter);
    if (error != E::NoError) return error;
    return Guarded("SetSessionPolicyParameter", [&] {
        Transaction transaction(database);
        ConfigStore(database).SaveSessionPolicy(parameter);
        transaction.Commit();
        LogInfo("Session policy stored");
        return E::NoError;
    });
}

UserManagerConfigError UserManagerConfigurationService::EnableLdapConfiguration(bool enable) {
    if (enable) {
        // Only a configuration that is still valid (its trust store and roles still there) goes on.
        auto [config, error] = LoadDirectoryConfig(*context);
        if (error) {
            LogError("Directory login not switched on: {0}", error->text);
            return error->code;
        }
    } else {
        // Directory users hold their roles only while directory login is on.
        context->directoryUsers.Clear();
    }
    return Guarded("EnableLdapConfiguration", [&] {
        Transaction transaction(database);
        ConfigStore(database).SetSetting(SettingLdapEnabled, enable ? 1 : 0);
        transaction.Commit();
        LogInfo("LDAP configuration enabled: {0}", enable);
        return E::NoError;
    });
}

bool UserManagerConfigurationService::IsLdapConfigurationEnabled() {
    bool enabled = false;
    Guarded("IsLdapConfigurationEnabled", [&] {
        auto lock = database.Lock();
        enabled = ConfigStore(database).GetSetting(SettingLdapEnabled, 0) != 0;
        return E::NoError;
    });
    return enabled;
}

UserManagerConfigError UserManagerConfigurationService::SetLdapConfigurationFromFile(const RscString<256>& path,
                                                                                     bool merge) {
    LdapErrorText().clear();
    // Merging into the present configuration is not offered: a configuration always comes whole.
    if (merge) return RefuseLdap(E::NotSupported, "A configuration is always replaced whole");
    if (path.IsEmpty()) return RefuseLdap(E::InvalidArgument, "No file given");
    std::string content;
    int error = ReadWholeFile(path.ToString(), content, MaxLdapConfigurationBytes);
    if (error == ENOENT) return RefuseLdap(E::NotFound, "No file at the given path");
    if (error == EFBIG) return RefuseLdap(E::LdapConfigurationInvalid, "The file is larger than 1 MiB");
    if (error != 0) {
        LogError("Cannot read LDAP configuration from {0}: errno {1}", path.ToString(), error);
        return RefuseLdap(E::FileError, "The file cannot be read");
    }
    bool text = content.find('\0') == std::string::npos && IsValidUtf8(content);
    if (content.empty() || !text) return RefuseLdap(E::LdapConfigurationInvalid, "The file is not UTF-8 text");
    std::optional<DirectoryConfigError> refused;
    try {
        refused = StoreDirectoryConfig(*context, content);
    } catch (const std::exception& failure) {
        refused = DirectoryConfigError{E::UnknownError, failure.what()};
    }
    if (refused) {
        LogError("LDAP configuration refused ({0}): {1}", refused->code, refused->text);
        return RefuseLdap(refused->code, refused->text);
    }
    LogInfo("LDAP configuration stored ({0} bytes)", content.size());
    return E::NoError;
}

UserManagerConfigError UserManagerConfigurationService::GetLdapConfigurationFilePath(RscString<256>& path) {
    const std::string& stored = context->paths.ldapConfiguration;
    std::error_code ignored;
    if (!std::filesystem::exists(stored, ignored)) return E::LdapConfigurationMissing;
    if (stored.size() >= RscString<256>::Capacity) return E::InvalidArgument;
    path = stored;
    return E::NoError;
}

} // namespace Kyr::PlatformServices
