#pragma once
// The directory (LDAP) client is a library of its own, loaded at its first use: a device that never
// uses directory login never maps OpenLDAP's client and the TLS stack it brings (about 2.5 MiB of
// memory). Both sides are built together, so the functions pass the services' own C++ types.
#include <optional>
#include <stdexcept>
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

// What the library gives.
struct DirectoryClientFunctions {
    // One conversation with the directory: connect and secure (servers in order), service bind, and
    // with credentials: search the user, bind as the user, search the groups, map them to roles.
    DirectoryOutcome (*converse)(const DirectoryConfig& config, const std::string& trustStoreFolder,
                                 const std::optional<DirectoryCredentials>& credentials);
    bool (*isValidDn)(const std::string& dn);                // an LDAPv3 distinguished name
    bool (*isValidServerUri)(const std::string& uri);        // ldap://host[:port] or ldaps://host[:port]
    std::string (*escapeFilterValue)(const std::string& value); // RFC 4515
};

inline constexpr const char* DirectoryClientLibrary = "libKyr.PlatformServices.Directory.so";
inline constexpr const char* DirectoryClientEntry = "KyrDirectoryClientFunctions";

class DirectoryClientMissing : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Loads the library at the first call (safe under concurrent first use) and keeps it loaded.
// Throws DirectoryClientMissing saying why it cannot be loaded.
const DirectoryClientFunctions& LoadDirectoryClient();

} // namespace Kyr::PlatformServices
