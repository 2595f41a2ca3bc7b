#pragma once
#include <cstdint>

#include "Kyr/System/Acf/SecurityToken.h"
#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/IRscService.h"

namespace Kyr::System::Acf::Services {

class KYR_API IAuthorizationService : public Kyr::System::Rsc::IRscService {
public:
    ~IAuthorizationService() override;
    // Whether the caller of `token` holds `right` on the permission object `objectName`.
    virtual bool HasPermission(const Kyr::System::Rsc::RscString<512>& objectName, std::uint32_t right,
                               const SecurityToken& token) = 0;
};

class KYR_API AuthorizationServiceProxyFactory : public Kyr::System::Rsc::IRscServiceProxyFactory {
public:
    static AuthorizationServiceProxyFactory& GetInstance();
    const char* GetServiceName() const override; // "Kyr.System.Acf.AuthorizationService"
};

} // namespace Kyr::System::Acf::Services
