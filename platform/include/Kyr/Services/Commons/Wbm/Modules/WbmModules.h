#pragma once
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmResponse.h"
#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Commons::Wbm::Modules {

using Messages::SecurityToken;
using Messages::WbmRequest;
using Messages::WbmResponse;

// One entry of a module's information list (shown by the host, e.g. on an about page).
struct KYR_API ModuleInfoEntry {
    String key;
    String value;
    friend bool operator==(const ModuleInfoEntry& a, const ModuleInfoEntry& b) { return a.key == b.key && a.value == b.value; }
};

// What the host tells a module at set-up: its settings file and its information entries.
class KYR_API ModuleInfo {
public:
    ModuleInfo() = default;
    ModuleInfo(String settingsPath, std::vector<ModuleInfoEntry> entries) : settingsPath(std::move(settingsPath)), entries(std::move(entries)) {}
    const String& GetSettingsPath() const noexcept { return settingsPath; }
    const std::vector<ModuleInfoEntry>& GetEntries() const noexcept { return entries; }

private:
    String settingsPath;
    std::vector<ModuleInfoEntry> entries;
};

class KYR_API DataProviderInfo {
public:
    explicit DataProviderInfo(String name) : name(std::move(name)) {}
    const String& GetDataProviderName() const noexcept { return name; }

private:
    String name;
};

// A web page of a module: its name, the menu group it belongs to and an optional icon.
class KYR_API PageInfo {
public:
    PageInfo(String pageName, String menuGroup, String icon) : pageName(std::move(pageName)), menuGroup(std::move(menuGroup)), icon(std::move(icon)) {}
    const String& GetPageName() const noexcept { return pageName; }
    const String& GetMenuGroup() const noexcept { return menuGroup; }
    const String& GetIcon() const noexcept { return icon; }

private:
    String pageName;
    String menuGroup;
    String icon;
};

// Serves the request functions of one data provider.
//
// The constructor flag says whether the provider changes device configuration
// (`isConfigurationProvider`). It decides the default permission rule, used by handlers that do not
// override HasPermissions: the caller must hold the permission object
// "kyr.services.wbm/configuration" (flag true) or "kyr.services.wbm/information" (flag false) with
// the right 4096, asked of the platform's authorization service. A caller without a session is
// always refused by the configuration rule, whatever the authorization service says, and without an
// authorization service everybody is refused.
class KYR_API WbmRequestHandlerBase {
public:
    using RequestDelegate = std::function<WbmResponse(const WbmRequest&)>;

    explicit WbmRequestHandlerBase(bool isConfigurationProvider);
    virtual ~WbmRequestHandlerBase();
    WbmRequestHandlerBase(const WbmRequestHandlerBase&) = delete;
    WbmRequestHandlerBase& operator=(const WbmRequestHandlerBase&) = delete;

    // Calls the delegate registered under the request's function name; an unknown name throws
    // InvalidOperationException "Unknown request function '{0}'".
    virtual WbmResponse HandleRequest(const WbmRequest& request);
    virtual bool IsAvailable() const;                              // default: true
    virtual bool HasPermissions(const SecurityToken& token) const; // default: the rule above

    bool HasRequestFunction(const String& functionName) const;
    std::vector<String> GetRequestFunctionNames() const; // in registration order
    bool IsConfigurationProvider() const noexcept { return isConfigurationProvider; }

protected:
    // A second registration under the same name replaces the first.
    void RegisterHandlerDelegate(const String& functionName, std::shared_ptr<RequestDelegate> delegate);

private:
    bool isConfigurationProvider;
    std::vector<std::pair<String, std::shared_ptr<RequestDelegate>>> delegates;
};

// Serves a web page of a module. Default: available, and permitted to nobody.
class KYR_API WbmPageHandlerBase {
public:
    WbmPageHandlerBase() = default;
    virtual ~WbmPageHandlerBase();
    // "visible" when the caller may open the page, "hidden" otherwise.
    virtual String GetVisibilityAttribute(const SecurityToken& token) const;
    virtual bool IsAvailable() const;
    virtual bool HasPermissions(const SecurityToken& token) const;
};

// The host's registration interface, handed to a module at set-up and reset.
class KYR_API IWbmModuleHandler {
public:
    virtual ~IWbmModuleHandler();
    virtual bool RegisterPage(const PageInfo& page, std::shared_ptr<WbmPageHandlerBase> handler) = 0;
    virtual void UnregisterPage(const String& pageName) = 0;
    virtual bool RegisterDataProvider(const DataProviderInfo& provider, std::shared_ptr<WbmRequestHandlerBase> handler) = 0;
    virtual void UnregisterDataProvider(const String& dataProviderName) = 0;
    virtual void RegisterModuleInfoEntry(const ModuleInfoEntry& entry) = 0;
    virtual void UnregisterModuleInfoEntry(const ModuleInfoEntry& entry) = 0;
};

class KYR_API IWbmModule {
public:
    virtual ~IWbmModule();
    virtual void SetupModule(const ModuleInfo& moduleInfo, IWbmModuleHandler& moduleHandler) = 0;
    virtual void ResetModule(IWbmModuleHandler& moduleHandler) = 0;
};

class KYR_API WbmModuleBase : public IWbmModule {
public:
    ~WbmModuleBase() override;
};

} // namespace Kyr::Services::Commons::Wbm::Modules
