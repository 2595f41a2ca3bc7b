#include "module/UmWbmModule.h"

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Commons/Xml/MultiXmlConfigDocument.h"
#include "notifications/SecurityNotifications.h"

namespace Kyr::Services::Modules::Wbm::Um {

using Kyr::System::Commons::InvalidOperationException;
using Kyr::System::Commons::SafeFormat;
using Kyr::System::Commons::Singleton;
using Internal::SecurityNotifications;

namespace {
constexpr const char* dataProviderRefusedTemplate = "Failed to register data provider: {0}";
constexpr const char* pageRefusedTemplate = "Failed to register page: {0}";
} // namespace

UmWbmModule::UmWbmModule()
    : umHandler(std::make_shared<Internal::UmHandler>()),
      umInfoHandler(std::make_shared<Internal::UmInfoHandler>()),
      ldapHandler(std::make_shared<Internal::LdapHandler>()),
      systemUseNotificationHandler(std::make_shared<Internal::SystemUseNotificationHandler>()) {}

UmWbmModule::~UmWbmModule() = default;

void UmWbmModule::Init(const String& settingsPath) {
    if (!Singleton<SecurityNotifications>::IsCreated()) Singleton<SecurityNotifications>::CreateInstance();

    Kyr::System::Commons::Xml::MultiXmlConfigDocument document(Internal::Settings::UmSettings::GetDocumentElementName(),
                                                              settings);
    document.Load(settingsPath);
    // Before the services: an LDAP part switched off must never report itself available.
    ldapHandler->SetLdapEnabled(settings.IsLdapEnabled());

    umHandler->SubscribeServices();
    umInfoHandler->SubscribeServices();
    ldapHandler->SubscribeServices();
    systemUseNotificationHandler->SubscribeServices();
}

void UmWbmModule::SetupModule(const ModuleInfo& info, IWbmModuleHandler& moduleHandler) {
    moduleInfo = info;
    Init(moduleInfo.GetSettingsPath());
    umHandler->InitializeBackups();

    RegisterDataProviders(moduleHandler);
    RegisterPages(moduleHandler);
    for (const auto& entry : moduleInfo.GetEntries()) moduleHandler.RegisterModuleInfoEntry(entry);
    isSetUp = true;
}

// A refusal names the item of the step before in two places ("LdapDp" reports "UserManagementDp",
// "LdapConfiguration" reports "UserManager"); these messages are published as they are.
void UmWbmModule::RegisterDataProviders(IWbmModuleHandler& moduleHandler) {
    const auto refuse = [](const DataProviderInfo& named) {
        throw InvalidOperationException(SafeFormat(dataProviderRefusedTemplate, named.GetDataProviderName()));
    };
    userManagementInfoProviderRegistered = moduleHandler.RegisterDataProvider(userManagementInfoProvider, umInfoHandler);
    if (!userManagementInfoProviderRegistered) refuse(userManagementInfoProvider);
    userManagementProviderRegistered = moduleHandler.RegisterDataProvider(userManagementProvider, umHandler);
    if (!userManagementProviderRegistered) refuse(userManagementProvider);
    ldapProviderRegistered = moduleHandler.RegisterDataProvider(ldapProvider, ldapHandler);
    if (!ldapProviderRegistered) refuse(userManagementProvider);
    systemUseNotificationProviderRegistered =
        moduleHandler.RegisterDataProvider(systemUseNotificationProvider, systemUseNotificationHandler);
    if (!systemUseNotificationProviderRegistered) refuse(systemUseNotificationProvider);
}

void UmWbmModule::RegisterPages(IWbmModuleHandler& moduleHandler) {
    const auto refuse = [](const PageInfo& named) {
        throw InvalidOperationException(SafeFormat(pageRefusedTemplate, named.GetPageName()));
    };
    userManagerPageRegistered = moduleHandler.RegisterPage(userManagerPage, umHandler);
    if (!userManagerPageRegistered) refuse(userManagerPage);
    ldapConfigurationPageRegistered = moduleHandler.RegisterPage(ldapConfigurationPage, ldapHandler);
    if (!ldapConfigurationPageRegistered) refuse(userManagerPage);
}

void UmWbmModule::ResetModule(IWbmModuleHandler& moduleHandler) {
    // Withdrawn in this order on purpose; it differs from the registration order.
    const auto unregisterProvider = [&moduleHandler](const DataProviderInfo& provider, bool& registered) {
        if (!registered) return;
        moduleHandler.UnregisterDataProvider(provider.GetDataProviderName());
        registered = false;
    };
    unregisterProvider(userManagementProvider, userManagementProviderRegistered);
    unregisterProvider(userManagementInfoProvider, userManagementInfoProviderRegistered);
    unregisterProvider(ldapProvider, ldapProviderRegistered);
    unregisterProvider(systemUseNotificationProvider, systemUseNotificationProviderRegistered);

    const auto unregisterPage = [&moduleHandler](const PageInfo& page, bool& registered) {
        if (!registered) return;
        moduleHandler.UnregisterPage(page.GetPageName());
        registered = false;
    };
    unregisterPage(userManagerPage, userManagerPageRegistered);
    unregisterPage(ldapConfigurationPage, ldapConfigurationPageRegistered);

    for (const auto& entry : moduleInfo.GetEntries()) moduleHandler.UnregisterModuleInfoEntry(entry);

    if (Singleton<SecurityNotifications>::IsCreated()) Singleton<SecurityNotifications>::DestroyInstance();
    isSetUp = false;
}

} // namespace Kyr::Services::Modules::Wbm::Um
