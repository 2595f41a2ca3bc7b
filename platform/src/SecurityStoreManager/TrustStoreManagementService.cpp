#include "Kyr/Services/SecurityStoreManager/ITrustStoreManagementService.h"

namespace Kyr::Services::SecurityStoreManager {

ITrustStoreManagementService::~ITrustStoreManagementService() = default;

TrustStoreManagementServiceProxyFactory& TrustStoreManagementServiceProxyFactory::GetInstance() {
    static TrustStoreManagementServiceProxyFactory instance;
    return instance;
}

const char* TrustStoreManagementServiceProxyFactory::GetServiceName() const {
    return "Kyr.Services.SecurityStoreManager.TrustStoreManagementService";
}

} // namespace Kyr::Services::SecurityStoreManager
