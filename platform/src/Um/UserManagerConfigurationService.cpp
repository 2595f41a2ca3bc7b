#include "Kyr/System/Um/Services/IUserManagerConfigurationService.h"

namespace Kyr::System::Um::Services {

IUserManagerConfigurationService::~IUserManagerConfigurationService() = default;

UserManagerConfigurationServiceProxyFactory& UserManagerConfigurationServiceProxyFactory::GetInstance() {
    static UserManagerConfigurationServiceProxyFactory instance;
    return instance;
}

const char* UserManagerConfigurationServiceProxyFactory::GetServiceName() const {
    return "Kyr.System.Um.UserManagerConfigurationService";
}

} // namespace Kyr::System::Um::Services
