#pragma once
#include <memory>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "handlers/LdapHandler.h"
#include "handlers/SystemUseNotificationHandler.h"
#include "handlers/UmHandler.h"
#include "handlers/UmInfoHandler.h"
#include "settings/UmSettings.h"

namespace Kyr::Services::Modules::Wbm::Um {

// The module "Um": owns the four handlers and registers them with the host as data providers and
// pages. SetupModule registers in a fixed order and stops at the first refusal, leaving what was
// registered so far marked, so that ResetModule withdraws exactly that.
class UmWbmModule : public Kyr::Services::Commons::Wbm::Modules::WbmModuleBase {
public:
    using ModuleInfo = Kyr::Services::Commons::Wbm::Modules::ModuleInfo;
    using IWbmModuleHandler = Kyr::Services::Commons::Wbm::Modules::IWbmModuleHandler;

    UmWbmModule();
    ~UmWbmModule() override;
    UmWbmModule(const UmWbmModule&) = delete;
    UmWbmModule& operator=(const UmWbmModule&) = delete;

    // Throws InvalidOperationException on a refused registration, and whatever loading the
    // settings, subscribing the services or taking the policy backup throws (before registering).
    void SetupModule(const ModuleInfo& moduleInfo, IWbmModuleHandler& moduleHandler) override;
    void ResetModule(IWbmModuleHandler& moduleHandler) override;

    // Creates the security-notification sender if there is none, loads the settings and lets the
    // handlers fetch their services.
    void Init(const String& settingsPath);

    bool IsSetUp() const noexcept { return isSetUp; }

private:
    using DataProviderInfo = Kyr::Services::Commons::Wbm::Modules::DataProviderInfo;
    using PageInfo = Kyr::Services::Commons::Wbm::Modules::PageInfo;

    void RegisterDataProviders(IWbmModuleHandler& moduleHandler);
    void RegisterPages(IWbmModuleHandler& moduleHandler);

    bool isSetUp = false;

    DataProviderInfo userManagementProvider{"UserManagementDp"};
    DataProviderInfo userManagementInfoProvider{"UserManagementInfoDp"};
    DataProviderInfo ldapProvider{"LdapDp"};
    DataProviderInfo systemUseNotificationProvider{"SystemUseNotificationDp"};
    PageInfo userManagerPage{"UserManager", "Security", String()};
    PageInfo ldapConfigurationPage{"LdapConfiguration", "Security", String()};

    // True while the item of the same name is registered with the host.
    bool userManagementProviderRegistered = false;
    bool userManagementInfoProviderRegistered = false;
    bool ldapProviderRegistered = false;
    bool systemUseNotificationProviderRegistered = false;
    bool userManagerPageRegistered = false;
    bool ldapConfigurationPageRegistered = false;

    ModuleInfo moduleInfo;
    Internal::Settings::UmSettings settings;

    std::shared_ptr<Internal::UmHandler> umHandler;
    std::shared_ptr<Internal::UmInfoHandler> umInfoHandler;
    std::shared_ptr<Internal::LdapHandler> ldapHandler;
    std::shared_ptr<Internal::SystemUseNotificationHandler> systemUseNotificationHandler;
};

} // namespace Kyr::Services::Modules::Wbm::Um
