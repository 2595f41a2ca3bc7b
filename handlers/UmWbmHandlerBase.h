#pragma once
#include <cstdint>
#include <memory>

#include "Kyr/Device/Interface/IDeviceControlService.h"
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/Services/SecurityStoreManager/ITrustStoreManagementService.h"
#include "Kyr/System/Acf/IAuthorizationService.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/IUserManagementService.h"
#include "Kyr/System/Um/Services/IUserManagerConfigurationService.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Common base of the handlers that work on user management: holds their five platform services,
// tells whether all of them are there, and asks the authorization service about the module's
// permission objects "kyr.services.wbm/modules/Um/<name>".
class UmWbmHandlerBase : public Kyr::Services::Commons::Wbm::Modules::WbmRequestHandlerBase {
public:
    using SecurityToken = Kyr::System::Acf::SecurityToken;

    static constexpr const char* umConfigPermissionsName = "UserManagerConfig";
    static constexpr const char* umInfoPermissionsName = "UserManagerInfo";
    // The right asked for on a permission object; its meaning is the authorization service's.
    static constexpr std::uint32_t permissionRight = 4096;

    explicit UmWbmHandlerBase(bool isConfigurationProvider);
    ~UmWbmHandlerBase() override;

protected:
    // Fetches the five services in member order. A service that is not published leaves its member
    // empty; a factory without a service name (ArgumentException) or a service of the wrong type
    // (InvalidCastException) throws.
    void SubscribeBaseServices();
    bool BaseServicesAvailable() const;
    // Throws ArgumentException "Input string is too long" when the full object name has 512
    // characters or more. False without an authorization service.
    bool HasPermissionOnObject(const SecurityToken& token, const String& objectName) const;

    std::shared_ptr<Kyr::System::Um::Services::IUserManagementService> userManagementService;
    std::shared_ptr<Kyr::System::Um::Services::IUserManagerConfigurationService> userManagerConfigurationService;
    std::shared_ptr<Kyr::Device::Interface::Services::IDeviceControlService> deviceControlService;
    std::shared_ptr<Kyr::System::Acf::Services::IAuthorizationService> authorizationService;
    std::shared_ptr<Kyr::Services::SecurityStoreManager::ITrustStoreManagementService> trustStoreManagementService;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
