#include "fakes/ScopedServices.h"

#include <utility>

namespace Kyr::Testing {

using Kyr::System::Rsc::ServiceManager;

namespace {
constexpr int kindCount = 6;
} // namespace

ScopedServices::ScopedServices(std::optional<ServiceKind> leftOut)
    : userManagement(std::make_shared<testing::NiceMock<MockUserManagementService>>()),
      userManagerConfiguration(std::make_shared<testing::NiceMock<MockUserManagerConfigurationService>>()),
      authorization(std::make_shared<testing::NiceMock<MockAuthorizationService>>()),
      deviceControl(std::make_shared<testing::NiceMock<MockDeviceControlService>>()),
      trustStore(std::make_shared<testing::NiceMock<MockTrustStoreManagementService>>()),
      systemUseNotification(std::make_shared<testing::NiceMock<MockSystemUseNotificationService>>()) {
    ServiceManager::Clear();
    for (int index = 0; index < kindCount; ++index) {
        const auto kind = static_cast<ServiceKind>(index);
        if (!leftOut || *leftOut != kind) ServiceManager::RegisterService(ServiceName(kind), ServiceOf(kind));
    }
}

ScopedServices::~ScopedServices() { ServiceManager::Clear(); }

void ScopedServices::Publish(const String& serviceName, std::shared_ptr<Kyr::System::Rsc::IRscService> service) {
    ServiceManager::RegisterService(serviceName, std::move(service));
}

void ScopedServices::Withdraw(ServiceKind kind) { ServiceManager::UnregisterService(ServiceName(kind)); }

// Both tables follow the order of ServiceKind.
const char* ScopedServices::ServiceName(ServiceKind kind) {
    const Kyr::System::Rsc::IRscServiceProxyFactory* factories[kindCount] = {
        &Kyr::System::Um::Services::UserManagementServiceProxyFactory::GetInstance(),
        &Kyr::System::Um::Services::UserManagerConfigurationServiceProxyFactory::GetInstance(),
        &Kyr::System::Acf::Services::AuthorizationServiceProxyFactory::GetInstance(),
        &Kyr::Device::Interface::Services::DeviceControlServiceProxyFactory::GetInstance(),
        &Kyr::Services::SecurityStoreManager::TrustStoreManagementServiceProxyFactory::GetInstance(),
        &Kyr::System::Commons::Services::SystemUseNotificationServiceProxyFactory::GetInstance()};
    return factories[static_cast<int>(kind)]->GetServiceName();
}

std::shared_ptr<Kyr::System::Rsc::IRscService> ScopedServices::ServiceOf(ServiceKind kind) const {
    const std::shared_ptr<Kyr::System::Rsc::IRscService> services[kindCount] = {
        userManagement, userManagerConfiguration, authorization, deviceControl, trustStore, systemUseNotification};
    return services[static_cast<int>(kind)];
}

} // namespace Kyr::Testing
