#include "TrustStoreManagementService.h"

#include <algorithm>
#include <filesystem>

namespace Kyr::PlatformServices {

std::vector<Kyr::System::Rsc::RscString<64>> TrustStoreManagementService::GetTrustStoreNames() {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::string name = entry->path().filename().string();
        // Hidden folders are work in progress; names that do not fit the answer are left out.
        if (!entry->is_directory(error) || name.empty() || name.front() == '.' ||
            name.size() >= Kyr::System::Rsc::RscString<64>::Capacity)
            continue;
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return {names.begin(), names.end()};
}

} // namespace Kyr::PlatformServices
