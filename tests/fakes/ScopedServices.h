#pragma once
// Publishes a fresh mock of every platform service in the ServiceManager, each under its proxy
// factory's name, and empties the ServiceManager again on destruction. One service can be left
// out, to test how the module copes with it missing. The mocks are NiceMocks: unscripted calls
// answer the type's default (false, 0 = NoError/Success, empty).
#include <memory>
#include <optional>

#include "fakes/MockServices.h"
#include "Kyr/System/Rsc/ServiceManager.h"

namespace Kyr::Testing {

// The tables in ScopedServices.cpp follow this order.
enum class ServiceKind { UserManagement, UserManagerConfiguration, Authorization, DeviceControl, TrustStore, SystemUseNotification };

class ScopedServices {
public:
    explicit ScopedServices(std::optional<ServiceKind> leftOut = std::nullopt);
    ~ScopedServices();
    ScopedServices(const ScopedServices&) = delete;
    ScopedServices& operator=(const ScopedServices&) = delete;

    // Publishes any object under `serviceName` (a service of the wrong type, for example).
    void Publish(const String& serviceName, std::shared_ptr<Kyr::System::Rsc::IRscService> service);
    // Removes one published service.
    void Withdraw(ServiceKind kind);
    static const char* ServiceName(ServiceKind kind);

    // The mocks exist whether or not they are published.
    const std::shared_ptr<testing::NiceMock<MockUserManagementService>> userManagement;
    const std::shared_ptr<testing::NiceMock<MockUserManagerConfigurationService>> userManagerConfiguration;
    const std::shared_ptr<testing::NiceMock<MockAuthorizationService>> authorization;
    const std::shared_ptr<testing::NiceMock<MockDeviceControlService>> deviceControl;
    const std::shared_ptr<testing::NiceMock<MockTrustStoreManagementService>> trustStore;
    const std::shared_ptr<testing::NiceMock<MockSystemUseNotificationService>> systemUseNotification;

private:
    std::shared_ptr<Kyr::System::Rsc::IRscService> ServiceOf(ServiceKind kind) const;
};

} // namespace Kyr::Testing
