#include "Kyr/System/Acf/IAuthorizationService.h"

namespace Kyr::System::Acf::Services {

IAuthorizationService::~IAuthorizationService() = default;

AuthorizationServiceProxyFactory& AuthorizationServiceProxyFactory::GetInstance() {
    static AuthorizationServiceProxyFactory instance;
    return instance;
}

const char* AuthorizationServiceProxyFactory::GetServiceName() const { return "Kyr.System.Acf.AuthorizationService"; }

} // namespace Kyr::System::Acf::Services
