#include "handlers/UmWbmHandlerBase.h"

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/ServiceManager.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::System::Rsc::ServiceManager;

namespace {
constexpr const char* permissionObjectPattern = "kyr.services.wbm/modules/Um/{}";
} // namespace

UmWbmHandlerBase::UmWbmHandlerBase(bool isConfigurationProvider) : WbmRequestHandlerBase(isConfigurationProvider) {}

UmWbmHandlerBase::~UmWbmHandlerBase() = default;

void UmWbmHandlerBase::SubscribeBaseServices() {
    namespace Um = Kyr::System::Um::Services;
    userManagementService = ServiceManager::GetService<Um::IUserManagementService, Um::UserManagementServiceProxyFactory>();
    userManagerConfigurationService =
        ServiceManager::GetService<Um::IUserManagerConfigurationService, Um::UserManagerConfigurationServiceProxyFactory>();
    deviceControlService = ServiceManager::GetService<Kyr::Device::Interface::Services::IDeviceControlService,
                                                      Kyr::Device::Interface::Services::DeviceControlServiceProxyFactory>();
    authorizationService = ServiceManager::GetService<Kyr::System::Acf::Services::IAuthorizationService,
                                                      Kyr::System::Acf::Services::AuthorizationServiceProxyFactory>();
    trustStoreManagementService =
        ServiceManager::GetService<Kyr::Services::SecurityStoreManager::ITrustStoreManagementService,
                                   Kyr::Services::SecurityStoreManager::TrustStoreManagementServiceProxyFactory>();
}

bool UmWbmHandlerBase::BaseServicesAvailable() const {
    return userManagementService && userManagerConfigurationService && deviceControlService && authorizationService &&
           trustStoreManagementService;
}

bool UmWbmHandlerBase::HasPermissionOnObject(const SecurityToken& token, const String& objectName) const {
    // A name of 512 characters or more does not fit: ArgumentException "Input string is too long".
    const Kyr::System::Rsc::RscString<512> object(Kyr::System::Commons::SafeFormat(permissionObjectPattern, objectName));
    // The host asks only after IsAvailable, but a missing service must never let anybody in.
    if (!authorizationService) return false;
    return authorizationService->HasPermission(object, permissionRight, token);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
