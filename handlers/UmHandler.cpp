#include "handlers/UmHandler.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Changes device configuration, hence a configuration provider.
UmHandler::UmHandler() : UmWbmHandlerBase(true) {
    // Request functions, registered in this order:
    //   GetUserManagementConfig
    //   GetSessionPolicyConfig
    //   GetPasswordRoleRulesets
    //   GetPasswordBlockList
    //   IsUserAuthenticationRequired
    //   IsAuthenticationDeactivatable
    //   SetSessionPolicyConfig
    //   SetPasswordBlockList
    //   SetPasswordRoleRulesets
    //   AddUser
    //   RemoveUser
    //   RestartSystem
    //   SetUserPassword
    //   ModifyUserConfig
    //   SetAuthenticationRequiredState
}

UmHandler::~UmHandler() = default;

bool UmHandler::IsAvailable() const { return BaseServicesAvailable(); }

bool UmHandler::HasPermissions(const SecurityToken& token) const {
    return HasPermissionOnObject(token, umConfigPermissionsName);
}

void UmHandler::SubscribeServices() { SubscribeBaseServices(); }

void UmHandler::InitializeBackups() {}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
