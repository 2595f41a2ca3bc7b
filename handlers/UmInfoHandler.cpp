#include "handlers/UmInfoHandler.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Serves information about the caller only, hence not a configuration provider.
UmInfoHandler::UmInfoHandler() : UmWbmHandlerBase(false) {}

UmInfoHandler::~UmInfoHandler() = default;

bool UmInfoHandler::IsAvailable() const { return BaseServicesAvailable(); }

bool UmInfoHandler::HasPermissions(const SecurityToken& token) const {
    return HasPermissionOnObject(token, umInfoPermissionsName);
}

void UmInfoHandler::SubscribeServices() { SubscribeBaseServices(); }

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
