#include "bridge/ModuleRegistry.h"

#include <algorithm>
#include <mutex>

namespace Kyr::WbmHost {

bool ModuleRegistry::RegisterPage(const Modules::PageInfo& page, std::shared_ptr<Modules::WbmPageHandlerBase> handler) {
    if (page.GetPageName().empty() || !handler) return false;
    std::unique_lock lock(mutex);
    return pages.emplace(page.GetPageName(), std::move(handler)).second;
}

void ModuleRegistry::UnregisterPage(const Kyr::String& pageName) {
    std::unique_lock lock(mutex);
    pages.erase(pageName);
}

bool ModuleRegistry::RegisterDataProvider(const Modules::DataProviderInfo& provider,
                                          std::shared_ptr<Modules::WbmRequestHandlerBase> handler) {
    if (provider.GetDataProviderName().empty() || !handler) return false;
    std::unique_lock lock(mutex);
    return providers.emplace(provider.GetDataProviderName(), std::move(handler)).second;
}

void ModuleRegistry::UnregisterDataProvider(const Kyr::String& dataProviderName) {
    std::unique_lock lock(mutex);
    providers.erase(dataProviderName);
}

void ModuleRegistry::RegisterModuleInfoEntry(const Modules::ModuleInfoEntry& entry) {
    std::unique_lock lock(mutex);
    infoEntries.push_back(entry);
}

void ModuleRegistry::UnregisterModuleInfoEntry(const Modules::ModuleInfoEntry& entry) {
    std::unique_lock lock(mutex);
    auto it = std::find(infoEntries.begin(), infoEntries.end(), entry);
    if (it != infoEntries.end()) infoEntries.erase(it);
}

std::shared_ptr<Modules::WbmRequestHandlerBase> ModuleRegistry::FindDataProvider(const Kyr::String& name) const {
    std::shared_lock lock(mutex);
    auto it = providers.find(name);
    return it == providers.end() ? nullptr : it->second;
}

std::shared_ptr<Modules::WbmPageHandlerBase> ModuleRegistry::FindPage(const Kyr::String& name) const {
    std::shared_lock lock(mutex);
    auto it = pages.find(name);
    return it == pages.end() ? nullptr : it->second;
}

std::vector<Kyr::String> ModuleRegistry::GetDataProviderNames() const {
    std::shared_lock lock(mutex);
    std::vector<Kyr::String> names;
    for (const auto& item : providers) names.push_back(item.first);
    return names;
}

std::vector<Modules::ModuleInfoEntry> ModuleRegistry::GetModuleInfoEntries() const {
    std::shared_lock lock(mutex);
    return infoEntries;
}

void ModuleRegistry::Clear() {
    std::unique_lock lock(mutex);
    providers.clear();
    pages.clear();
    infoEntries.clear();
}

} // namespace Kyr::WbmHost
