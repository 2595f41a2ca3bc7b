#include "fakes/ScopedServices.h"

#include <utility>

namespace Kyr::Testing {

using Kyr::System::Rsc::ServiceManager;

namespace {
constexpr ServiceKind allKinds[] = {ServiceKind::UserManagement, ServiceKind::UserManagerConfiguration, ServiceKind::Authorization,
                                    ServiceKind::DeviceControl,  ServiceKind::TrustStore,               ServiceKind::SystemUseNotification};
} // namespace

ScopedServices::ScopedServices(std::optional<ServiceKind> leftOut)
    : userManagement(std::make_shared<testing::NiceMock<MockUserManagementService>>()),
      userManagerConfiguration(std::make_shared<testing::NiceMock<MockUserManagerConfigurationService>>()),
      authorization(std::make_shared<testing::NiceMock<MockAuthorizationService>>()),
      deviceControl(std::make_shared<testing::NiceMock<MockDeviceControlService>>()),
      trustStore(std::make_shared<testing::NiceMock<MockTrustStoreManagementService>>()),
      systemUseNotification(std::make_shared<testing::NiceMock<MockSystemUseNotificationService>>()) {
    ServiceManager::Clear();
    for (ServiceKind kind : allKinds)
        if (!leftOut || *leftOut != kind) ServiceManager::RegisterService(ServiceName(kind), ServiceOf(kind));
}

ScopedServices::~ScopedServices() { ServiceManager::Clear(); }

void ScopedServices::Publish(const String& serviceName, std::shared_ptr<Kyr::System::Rsc::IRscService> service) {
    ServiceManager::RegisterService(serviceName, std::move(service));
}

void ScopedServices::Withdraw(ServiceKind kind) { ServiceManager::UnregisterService(ServiceName(kind)); }

const char* ScopedServices::ServiceName(ServiceKind kind) {
    switch (kind) {
    case ServiceKind::UserManagement:
        return Kyr::System::Um::Services::UserManagementServiceProxyFactory::GetInstance().GetServiceName();
    case ServiceKind::UserManagerConfiguration:
        return Kyr::System::Um::Services::UserManagerConfigurationServiceProxyFactory::GetInstance().GetServiceName();
    case ServiceKind::Authorization:
        return Kyr::System::Acf::Services::AuthorizationServiceProxyFactory::GetInstance().GetServiceName();
    case ServiceKind::DeviceControl:
        return Kyr::Device::Interface::Services::DeviceControlServiceProxyFactory::GetInstance().GetServiceName();
    case ServiceKind::TrustStore:
        return Kyr::Services::SecurityStoreManager::TrustStoreManagementServiceProxyFactory::GetInstance().GetServiceName();
    case ServiceKind::SystemUseNotification:
        return Kyr::System::Commons::Services::SystemUseNotificationServiceProxyFactory::GetInstance().GetServiceName();
    }
    return "";
}

std::shared_ptr<Kyr::System::Rsc::IRscService> ScopedServices::ServiceOf(ServiceKind kind) const {
    switch (kind) {
    case ServiceKind::UserManagement: return userManagement;
    case ServiceKind::UserManagerConfiguration: return userManagerConfiguration;
    case ServiceKind::Authorization: return authorization;
    case ServiceKind::DeviceControl: return deviceControl;
    case ServiceKind::TrustStore: return trustStore;
    case ServiceKind::SystemUseNotification: return systemUseNotification;
    }
    return nullptr;
}

} // namespace Kyr::Testing
