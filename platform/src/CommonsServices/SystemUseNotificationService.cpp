#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"

namespace Kyr::System::Commons::Services {

ISystemUseNotificationService::~ISystemUseNotificationService() = default;

SystemUseNotificationServiceProxyFactory& SystemUseNotificationServiceProxyFactory::GetInstance() {
    static SystemUseNotificationServiceProxyFactory instance;
    return instance;
}

const char* SystemUseNotificationServiceProxyFactory::GetServiceName() const {
    return "Kyr.System.Commons.SystemUseNotificationService";
}

} // namespace Kyr::System::Commons::Services
