#include "Kyr/System/Um/Services/IUserManagementService.h"

namespace Kyr::System::Um::Services {

IUserManagementService::~IUserManagementService() = default;

UserManagementServiceProxyFactory& UserManagementServiceProxyFactory::GetInstance() {
    static UserManagementServiceProxyFactory instance;
    return instance;
}

const char* UserManagementServiceProxyFactory::GetServiceName() const { return "Kyr.System.Um.UserManagementService"; }

} // namespace Kyr::System::Um::Services
