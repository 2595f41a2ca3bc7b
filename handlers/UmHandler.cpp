#include "handlers/UmHandler.h"

#include <memory>

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Changes device configuration, hence a configuration provider.
UmHandler::UmHandler() : UmWbmHandlerBase(true) {
    // Request functions, registered in this order:
    //   GetUserManagementConfig
    RegisterHandlerDelegate("GetSessionPolicyConfig", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetSessionPolicyConfig(request); }));
    RegisterHandlerDelegate("GetPasswordRoleRulesets", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetPasswordRoleRulesets(request); }));
    RegisterHandlerDelegate("GetPasswordBlockList", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetPasswordBlockList(request); }));
    //   IsUserAuthenticationRequired
    //   IsAuthenticationDeactivatable
    RegisterHandlerDelegate("SetSessionPolicyConfig", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetSessionPolicyConfig(request); }));
    RegisterHandlerDelegate("SetPasswordBlockList", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetPasswordBlockList(request); }));
    RegisterHandlerDelegate("SetPasswordRoleRulesets", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetPasswordRoleRulesets(request); }));
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

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
