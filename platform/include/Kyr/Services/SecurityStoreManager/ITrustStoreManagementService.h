#pragma once
#include <vector>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/IRscService.h"

namespace Kyr::Services::SecurityStoreManager {

class KYR_API ITrustStoreManagementService : public Kyr::System::Rsc::IRscService {
public:
    ~ITrustStoreManagementService() override;
    virtual std::vector<Kyr::System::Rsc::RscString<64>> GetTrustStoreNames() = 0;
};

class KYR_API TrustStoreManagementServiceProxyFactory : public Kyr::System::Rsc::IRscServiceProxyFactory {
public:
    static TrustStoreManagementServiceProxyFactory& GetInstance();
    const char* GetServiceName() const override; // "Kyr.Services.SecurityStoreManager.TrustStoreManagementService"
};

} // namespace Kyr::Services::SecurityStoreManager
