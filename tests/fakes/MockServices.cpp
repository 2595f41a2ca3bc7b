#include "fakes/MockServices.h"

// Out-of-line constructors and destructors: the gmock machinery is compiled once here instead of
// in every test file.
namespace Kyr::Testing {

MockUserManagementService::MockUserManagementService() = default;
MockUserManagementService::~MockUserManagementService() = default;
MockUserManagerConfigurationService::MockUserManagerConfigurationService() = default;
MockUserManagerConfigurationService::~MockUserManagerConfigurationService() = default;
MockAuthorizationService::MockAuthorizationService() = default;
MockAuthorizationService::~MockAuthorizationService() = default;
MockDeviceControlService::MockDeviceControlService() = default;
MockDeviceControlService::~MockDeviceControlService() = default;
MockTrustStoreManagementService::MockTrustStoreManagementService() = default;
MockTrustStoreManagementService::~MockTrustStoreManagementService() = default;
MockSystemUseNotificationService::MockSystemUseNotificationService() = default;
MockSystemUseNotificationService::~MockSystemUseNotificationService() = default;

} // namespace Kyr::Testing
