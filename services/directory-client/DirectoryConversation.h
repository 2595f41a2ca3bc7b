#pragma once
// One conversation with the directory, step by step: connect and secure (servers in order, the next
// one only when a server cannot be reached or secured), service bind, and with a user name: search
// the user, bind as the user, search the groups, map them to roles. Stops at the first failing step.
#include <optional>
#include <string>
#include <vector>

#include "DirectoryClient.h"

namespace Kyr::PlatformServices {

DirectoryOutcome Converse(const DirectoryConfig& config, const std::string& trustStoreFolder,
                          const std::optional<DirectoryCredentials>& credentials);

} // namespace Kyr::PlatformServices
