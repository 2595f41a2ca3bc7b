#include "DirectoryConfigStore.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "AtomicFile.h"
#include "Schema.h"
#include "UserStore.h"

namespace Kyr::PlatformServices {

using E = Kyr::System::Um::Services::UserManagerConfigError;

namespace {
constexpr std::size_t MaxFileBytes = 1u << 20;

std::optional<std::string> StoredBindPassword(const ServiceContext& context) {
    std::string password;
    if (ReadWholeFile(context.paths.ldapBindPassword, password, MaxFileBytes) != 0 || password.empty()) return std::nullopt;
    return password;
}
} // namespace

DirectoryConfigContext DeviceConfigContext(ServiceContext& context) {
    DirectoryConfigContext device;
    const std::string trustStores = context.paths.trustStores;
    device.trustStoreExists = [trustStores](const std::string& name) {
        std::error_code ignored;
        return !name.empty() && name.front() != '.' && name.find('/') == std::string::npos &&
               std::filesystem::is_directory(trustStores + "/" + name, ignored);
    };
    device.roleExists = [&context](const std::string& role) {
        if (role == UnauthenticatedRole) return false;
        auto lock = context.database.Lock();
        std::vector<std::string> roles = UserStore(context.database).AllRoles();
        return std::find(roles.begin(), roles.end(), role) != roles.end();
    };
    device.storedBindPassword = StoredBindPassword(context);
    return device;
}

std::optional<DirectoryConfigError> StoreDirectoryConfig(ServiceContext& context, const std::string& text) {
    auto [config, error] = ParseDirectoryConfig(text, DeviceConfigContext(context));
    if (error) return error;
    // The password first: a crash in between leaves the old configuration with a password it may
    // not need, never a configuration whose password is missing.
    int failure = config->bindDn.empty() ? 0 : WriteFileAtomically(context.paths.ldapBindPassword, config->bindPassword);
    if (!failure) failure = WriteFileAtomically(context.paths.ldapConfiguration, MaskDirectoryConfig(text));
    if (!failure && config->bindDn.empty()) {
        std::error_code ignored;
        std::filesystem::remove(context.paths.ldapBindPassword, ignored);
    }
    if (failure) return DirectoryConfigError{E::FileError, "Cannot store the configuration: errno " + std::to_string(failure)};
    return std::nullopt;
}

std::pair<std::optional<DirectoryConfig>, std::optional<DirectoryConfigError>> LoadDirectoryConfig(ServiceContext& context) {
    std::string text;
    int failure = ReadWholeFile(context.paths.ldapConfiguration, text, MaxFileBytes);
    if (failure == ENOENT) return {std::nullopt, DirectoryConfigError{E::LdapConfigurationMissing, "No configuration stored"}};
    if (failure) return {std::nullopt, DirectoryConfigError{E::FileError, "Cannot read the configuration: errno " + std::to_string(failure)}};
    return ParseDirectoryConfig(text, DeviceConfigContext(context));
}

} // namespace Kyr::PlatformServices
