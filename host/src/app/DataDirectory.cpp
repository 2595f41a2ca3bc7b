#include "app/DataDirectory.h"

#include <filesystem>

#include "app/HostLoggers.h"

namespace Kyr::WbmHost {

namespace fs = std::filesystem;

void PrepareDataDirectory(const std::string& directory) {
    fs::create_directories(directory);
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_regular_file() || name.find(".tmp-") == std::string::npos) continue;
        std::error_code error;
        fs::remove(entry.path(), error);
        HostLifecycle::LogInfo("Removed {0}, left behind by an interrupted write", entry.path().string());
    }
}

} // namespace Kyr::WbmHost
