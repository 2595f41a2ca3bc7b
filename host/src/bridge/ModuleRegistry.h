#pragma once
#include <map>
#include <memory>
#include <shared_mutex>
#include <vector>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"

namespace Kyr::WbmHost {

namespace Modules = Kyr::Services::Commons::Wbm::Modules;

// What the loaded module registered: data providers, pages and information entries. The module
// fills it at set-up and empties it at reset; request threads read it. Thread-safe.
class ModuleRegistry : public Modules::IWbmModuleHandler {
public:
    // A second registration under a taken name (or an empty name, or no handler) is refused.
    bool RegisterPage(const Modules::PageInfo& page, std::shared_ptr<Modules::WbmPageHandlerBase> handler) override;
    void UnregisterPage(const Kyr::String& pageName) override;
    bool RegisterDataProvider(const Modules::DataProviderInfo& provider,
                              std::shared_ptr<Modules::WbmRequestHandlerBase> handler) override;
    void UnregisterDataProvider(const Kyr::String& dataProviderName) override;
    void RegisterModuleInfoEntry(const Modules::ModuleInfoEntry& entry) override;
    void UnregisterModuleInfoEntry(const Modules::ModuleInfoEntry& entry) override;

    std::shared_ptr<Modules::WbmRequestHandlerBase> FindDataProvider(const Kyr::String& name) const;
    std::shared_ptr<Modules::WbmPageHandlerBase> FindPage(const Kyr::String& name) const;
    std::vector<Kyr::String> GetDataProviderNames() const;
    std::vector<Modules::ModuleInfoEntry> GetModuleInfoEntries() const;
    // Drops whatever is left, so that no handler outlives the library that holds its code.
    void Clear();

private:
    mutable std::shared_mutex mutex;
    std::map<Kyr::String, std::shared_ptr<Modules::WbmRequestHandlerBase>> providers;
    std::map<Kyr::String, std::shared_ptr<Modules::WbmPageHandlerBase>> pages;
    std::vector<Modules::ModuleInfoEntry> infoEntries;
};

} // namespace Kyr::WbmHost
