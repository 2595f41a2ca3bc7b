#include "handlers/SystemUseNotificationHandler.h"

#include "Kyr/System/Rsc/ServiceManager.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::System::Commons::Services::ISystemUseNotificationService;
using Kyr::System::Commons::Services::SystemUseNotificationServiceProxyFactory;

SystemUseNotificationHandler::SystemUseNotificationHandler() : WbmRequestHandlerBase(true) {}

SystemUseNotificationHandler::~SystemUseNotificationHandler() = default;

bool SystemUseNotificationHandler::IsAvailable() const { return systemUseNotificationService != nullptr; }

void SystemUseNotificationHandler::SubscribeServices() {
    systemUseNotificationService = Kyr::System::Rsc::ServiceManager::GetService<ISystemUseNotificationService,
                                                                                SystemUseNotificationServiceProxyFactory>();
    if (!systemUseNotificationService) LogError("Could not subscribe ISystemUseNotificationService!");
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
