#pragma once
// One conversation with the directory, step by step: connect and secure (servers in order, the next
// one only when a server cannot be reached or secured), service bind, and with a user name: search
// the user, bind as the user, search the groups, map them to roles. Stops at the first failing step.
#include <optional>
#include <string>
#include <vector>

#include "DirectoryConfig.h"
#include "Kyr/PlatformServices/PlatformServices.h"

namespace Kyr::PlatformServices {

enum class DirectoryVerdict {
    Succeeded,
    WrongPassword, // the user exists; the directory refused the password (or the password was empty)
    UnknownUser,   // no entry, or more than one, for the name
    NoRole,        // none of the user's groups maps to a role
    Failed,        // the directory could not be used: unreachable, TLS, service bind, search errors
};

struct DirectoryOutcome {
    DirectoryVerdict verdict = DirectoryVerdict::Failed;
    bool reached = false;             // a server was connected and secured
    std::string server;               // the server of the answer, or the last one tried
    std::vector<DirectoryTestStep> steps;
    std::string error;                // for Failed: the directory's diagnostic (never a password)
    std::vector<std::string> roles;   // for Succeeded
};

struct DirectoryCredentials {
    std::string userName;
    std::string password;
};

DirectoryOutcome Converse(const DirectoryConfig& config, const std::string& trustStoreFolder,
                          const std::optional<DirectoryCredentials>& credentials);

} // namespace Kyr::PlatformServices
