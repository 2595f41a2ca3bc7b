#pragma once
// The host's registration interface as a recorder: every call is kept in order as
// "<Operation>:<name>" ("RegisterDataProvider:UserManagementDp", "UnregisterPage:UserManager",
// "RegisterModuleInfoEntry:<key>"), registered handlers are kept by name, and one chosen
// registration (page or data provider) can be refused.
#include <map>
#include <memory>
#include <vector>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"

namespace Kyr::Testing {

class RecordingModuleHandler : public Kyr::Services::Commons::Wbm::Modules::IWbmModuleHandler {
public:
    using PageHandler = Kyr::Services::Commons::Wbm::Modules::WbmPageHandlerBase;
    using RequestHandler = Kyr::Services::Commons::Wbm::Modules::WbmRequestHandlerBase;

    bool RegisterPage(const Kyr::Services::Commons::Wbm::Modules::PageInfo& page, std::shared_ptr<PageHandler> handler) override;
    void UnregisterPage(const String& pageName) override;
    bool RegisterDataProvider(const Kyr::Services::Commons::Wbm::Modules::DataProviderInfo& provider,
                              std::shared_ptr<RequestHandler> handler) override;
    void UnregisterDataProvider(const String& dataProviderName) override;
    void RegisterModuleInfoEntry(const Kyr::Services::Commons::Wbm::Modules::ModuleInfoEntry& entry) override;
    void UnregisterModuleInfoEntry(const Kyr::Services::Commons::Wbm::Modules::ModuleInfoEntry& entry) override;

    // The registration (page or data provider) of this name answers false and is not kept.
    void RefuseRegistration(const String& name) { refusedName = name; }

    const std::vector<String>& GetCalls() const noexcept { return calls; }
    // Currently registered handlers by name (removed again by the unregister calls).
    const std::map<String, std::shared_ptr<RequestHandler>>& GetDataProviders() const noexcept { return dataProviders; }
    const std::map<String, std::shared_ptr<PageHandler>>& GetPages() const noexcept { return pages; }

private:
    std::vector<String> calls;
    String refusedName;
    std::map<String, std::shared_ptr<RequestHandler>> dataProviders;
    std::map<String, std::shared_ptr<PageHandler>> pages;
};

} // namespace Kyr::Testing
