#pragma once
// What the six services share: the options, where things live in the data directory, the one
// database connection, the password hasher, the host's session directory, the clock and the roles
// of the directory users who logged in.
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "DirectoryUsers.h"
#include "Kyr/System/Commons/RscString.h"
#include "PasswordHasher.h"
#include "SecondFactorIndex.h"
#include "Sqlite.h"

namespace Kyr::PlatformServices {

using Kyr::System::Rsc::RscString;

struct DataPaths {
    explicit DataPaths(const std::string& dataDirectory);
    std::string dataDirectory;
    std::string database;
    std::string loginText;
    std::string ldapFolder;
    std::string ldapConfiguration;
    std::string ldapBindPassword; // the service bind password, apart from the shown configuration
    std::string trustStores;
    std::string securityLog;
    std::string dummyHash; // the hash that unknown users' logins are checked against
    std::string secondFactorKey; // the device key that the second factors' secrets are encrypted under
};

class ServiceContext {
public:
    ServiceContext(const ServicesOptions& options, SessionDirectory& sessions, std::function<void()> restartRequest);

    std::int64_t Now() const; // Unix seconds from the configured clock

    const ServicesOptions options;
    const DataPaths paths;
    Database database;
    const PasswordHasher hasher;
    SessionDirectory& sessions;
    const std::function<void()> restartRequest;
    std::mutex securityLogMutex;
    DirectoryUsers directoryUsers;
    SecondFactorIndex secondFactorIndex;
};

} // namespace Kyr::PlatformServices
