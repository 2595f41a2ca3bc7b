#include "app/DataDirectory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "app/HostLoggers.h"

namespace Kyr::WbmHost {

namespace fs = std::filesystem;

namespace {

// An advisory lock on a file of the directory: it follows the directory whatever path names it.
int LockDirectory(const std::string& directory) {
    const std::string lockFile = (fs::path(directory) / ".lock").string();
    const int descriptor = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) throw std::runtime_error("Cannot open " + lockFile + ": " + std::strerror(errno));
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(descriptor);
        if (error == EWOULDBLOCK)
            throw std::runtime_error("The data directory " + directory + " is in use by another wbm-host");
        throw std::runtime_error("Cannot lock " + lockFile + ": " + std::strerror(error));
    }
    return descriptor;
}

void RemoveInterruptedWrites(const std::string& directory) {
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_regular_file() || name.find(".tmp-") == std::string::npos) continue;
        std::error_code error;
        fs::remove(entry.path(), error);
        HostLifecycle::LogInfo("Removed {0}, left behind by an interrupted write", entry.path().string());
    }
}

} // namespace

HeldDataDirectory::HeldDataDirectory(const std::string& directory) {
    fs::create_directories(directory);
    lockDescriptor = LockDirectory(directory);
    try {
        RemoveInterruptedWrites(directory);
    } catch (...) {
        ::close(lockDescriptor); // no destructor runs for a constructor that throws
        throw;
    }
}

HeldDataDirectory::~HeldDataDirectory() {
    if (lockDescriptor >= 0) ::close(lockDescriptor);
}

} // namespace Kyr::WbmHost
