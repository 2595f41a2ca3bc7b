#pragma once
// Where the directory configuration lives: the shown file (bind password masked) and, apart from it,
// the service bind password. Both in the owner-only LDAP folder of the data directory.
#include <optional>
#include <string>
#include <utility>

#include "DirectoryConfig.h"
#include "ServiceContext.h"

namespace Kyr::PlatformServices {

// The device facts a configuration is checked against: trust stores, roles, the stored password.
DirectoryConfigContext DeviceConfigContext(ServiceContext& context);

// Validates `text` and stores it; nothing is stored on error. Answers the error, if any.
std::optional<DirectoryConfigError> StoreDirectoryConfig(ServiceContext& context, const std::string& text);

// The stored configuration, validated again (a trust store or role may have gone since).
std::pair<std::optional<DirectoryConfig>, std::optional<DirectoryConfigError>> LoadDirectoryConfig(ServiceContext& context);

} // namespace Kyr::PlatformServices
