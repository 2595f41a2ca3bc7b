#include "ServiceContext.h"

#include "AtomicFile.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace Kyr::PlatformServices {

namespace {
// Creates the data directory readable by its owner only: it holds password hashes.
const std::string& PrepareDataDirectory(const std::string& path) {
    if (path.empty()) throw std::invalid_argument("No data directory given");
    std::filesystem::create_directories(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, std::filesystem::perm_options::replace);
    return path;
}
std::string StoredDummyHash(const std::string& path) {
    std::string content;
    return ReadWholeFile(path, content, 1024) == 0 ? content : std::string();
}
} // namespace

DataPaths::DataPaths(const std::string& dataDirectory)
    : dataDirectory(PrepareDataDirectory(dataDirectory)),
      database(dataDirectory + "/users.db"),
      loginText(dataDirectory + "/login-text"),
      ldapFolder(dataDirectory + "/ldap"),
      ldapConfiguration(ldapFolder + "/ldap.conf"),
      ldapBindPassword(ldapFolder + "/bind-password"),
      trustStores(dataDirectory + "/truststores"),
      securityLog(dataDirectory + "/security.log"),
      dummyHash(dataDirectory + "/dummy-hash"),
      secondFactorKey(dataDirectory + "/second-factor.key") {
    std::filesystem::create_directories(ldapFolder);
    std::filesystem::create_directories(trustStores);
}

ServiceContext::ServiceContext(const ServicesOptions& options, SessionDirectory& sessions,
                               std::function<void()> restartRequest)
    : options(options),
      paths(options.dataDirectory),
      database(paths.database),
      hasher(options.hashOpsLimit, options.hashMemLimit, StoredDummyHash(paths.dummyHash)),
      sessions(sessions),
      restartRequest(std::move(restartRequest)) {
    // Made once and kept, so that a start does not spend a full hash (memory and time) on it.
    if (StoredDummyHash(paths.dummyHash) != hasher.DummyHash()) WriteFileAtomically(paths.dummyHash, hasher.DummyHash());
}

std::int64_t ServiceContext::Now() const {
    auto now = options.clock ? options.clock() : std::chrono::system_clock::now();
    return std::chrono::duration_cast<std::chrono::seconds>(now.time_since_epoch()).count();
}

} // namespace Kyr::PlatformServices
