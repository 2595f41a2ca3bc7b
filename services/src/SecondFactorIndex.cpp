#include "SecondFactorIndex.h"

namespace Kyr::PlatformServices {

void SecondFactorIndex::Load(const std::vector<std::string>& loaded) {
    std::lock_guard<std::mutex> lock(mutex);
    names = std::set<std::string>(loaded.begin(), loaded.end());
}

void SecondFactorIndex::Add(const std::string& name) {
    std::lock_guard<std::mutex> lock(mutex);
    names.insert(name);
}

void SecondFactorIndex::Forget(const std::string& name) {
    std::lock_guard<std::mutex> lock(mutex);
    names.erase(name);
}

bool SecondFactorIndex::Contains(const std::string& name) const {
    std::lock_guard<std::mutex> lock(mutex);
    return names.count(name) != 0;
}

std::vector<std::string> SecondFactorIndex::Names() const {
    std::lock_guard<std::mutex> lock(mutex);
    return std::vector<std::string>(names.begin(), names.end());
}

} // namespace Kyr::PlatformServices
