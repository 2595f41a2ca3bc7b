#pragma once
// GoogleMock fakes of the six platform services the module calls. Script answers with ON_CALL /
// EXPECT_CALL; arguments are recorded by gmock (use SaveArg or matchers on the RscString values).
#include <gmock/gmock.h>

#include <cstdint>
#include <vector>

#include "Kyr/Device/Interface/IDeviceControlService.h"
#include "Kyr/Services/SecurityStoreManager/ITrustStoreManagementService.h"
#include "Kyr/System/Acf/IAuthorizationService.h"
#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"
#include "Kyr/System/Um/Services/IUserManagementService.h"
#include "Kyr/System/Um/Services/IUserManagerConfigurationService.h"

namespace Kyr::System::Rsc {
// Failure messages show the text instead of the buffer's bytes.
template <std::size_t N>
void PrintTo(const RscString<N>& text, std::ostream* out) { *out << '"' << text.ToString() << '"'; }
} // namespace Kyr::System::Rsc

namespace Kyr::Testing {

using Kyr::System::Rsc::RscString;
namespace UmInternal = Kyr::System::Um::Services::Internal;

class MockUserManagementService : public Kyr::System::Um::Services::IUserManagementService {
public:
    MockUserManagementService();
    ~MockUserManagementService() override;

    MOCK_METHOD(bool, AddUser, ((const RscString<64>&), (const RscString<128>&)), (override));
    MOCK_METHOD(bool, RemoveUser, ((const RscString<64>&)), (override));
    MOCK_METHOD(bool, SetUserPassword, ((const RscString<64>&), (const RscString<128>&)), (override));
    MOCK_METHOD(bool, ChangeUserPassword, ((const RscString<64>&), (const RscString<128>&), (const RscString<128>&)), (override));
    MOCK_METHOD(RscString<128>, GetLastErrorText, (), (override));
    MOCK_METHOD(std::vector<RscString<64>>, GetUsers, (), (override));
    MOCK_METHOD(bool, HasAdminRuleset, ((const RscString<64>&)), (override));
    MOCK_METHOD(bool, SetAdminRuleset, ((const RscString<64>&), bool), (override));
    MOCK_METHOD(std::vector<RscString<64>>, GetUserRoles, ((const RscString<64>&)), (override));
    MOCK_METHOD(std::vector<RscString<64>>, GetAllRoles, (), (override));
    MOCK_METHOD(bool, SetUserRoles, ((const RscString<64>&), (const std::vector<RscString<64>>&)), (override));
    MOCK_METHOD(bool, GetAllUsersPasswordInfo, (std::vector<UmInternal::UserPasswordInfo>&), (override));
    MOCK_METHOD(bool, GetPasswordInfoBySecurityToken, (const Kyr::System::Acf::SecurityToken&, UmInternal::UserPasswordInfo&), (override));
    MOCK_METHOD(bool, GetAuthenticationRequired, (), (override));
    MOCK_METHOD(bool, GetAuthenticationDeactivatable, (), (override));
    MOCK_METHOD(bool, SetAuthenticationRequired, (bool), (override));
};

class MockUserManagerConfigurationService : public Kyr::System::Um::Services::IUserManagerConfigurationService {
public:
    using Error = Kyr::System::Um::Services::UserManagerConfigError;
    MockUserManagerConfigurationService();
    ~MockUserManagerConfigurationService() override;

    MOCK_METHOD(Error, GetActiveAdminRoleRuleset, (UmInternal::Roleruleset&), (override));
    MOCK_METHOD(Error, GetActiveDefaultRoleRuleset, (UmInternal::Roleruleset&), (override));
    MOCK_METHOD(Error, SetAdminRoleRuleset, (const UmInternal::Roleruleset&), (override));
    MOCK_METHOD(Error, SetDefaultRoleRuleset, (const UmInternal::Roleruleset&), (override));
    MOCK_METHOD(Error, GetActivePasswordsBlockList, (std::vector<RscString<128>>&), (override));
    MOCK_METHOD(Error, SetActivePasswordsBlockList, (const std::vector<RscString<128>>&), (override));
    MOCK_METHOD(Error, GetSessionPolicyParameter, (UmInternal::SessionPolicyParameter&), (override));
    MOCK_METHOD(Error, SetSessionPolicyParameter, (const UmInternal::SessionPolicyParameter&), (override));
    MOCK_METHOD(Error, EnableLdapConfiguration, (bool), (override));
    MOCK_METHOD(bool, IsLdapConfigurationEnabled, (), (override));
    MOCK_METHOD(Error, SetLdapConfigurationFromFile, ((const RscString<256>&), bool), (override));
    MOCK_METHOD(Error, GetLdapConfigurationFilePath, (RscString<256>&), (override));
};

class MockAuthorizationService : public Kyr::System::Acf::Services::IAuthorizationService {
public:
    MockAuthorizationService();
    ~MockAuthorizationService() override;
    MOCK_METHOD(bool, HasPermission, ((const RscString<512>&), std::uint32_t, const Kyr::System::Acf::SecurityToken&), (override));
};

class MockDeviceControlService : public Kyr::Device::Interface::Services::IDeviceControlService {
public:
    MockDeviceControlService();
    ~MockDeviceControlService() override;
    MOCK_METHOD(bool, RestartDevice, (), (override));
};

class MockTrustStoreManagementService : public Kyr::Services::SecurityStoreManager::ITrustStoreManagementService {
public:
    MockTrustStoreManagementService();
    ~MockTrustStoreManagementService() override;
    MOCK_METHOD(std::vector<RscString<64>>, GetTrustStoreNames, (), (override));
};

class MockSystemUseNotificationService : public Kyr::System::Commons::Services::ISystemUseNotificationService {
public:
    using FileSystemError = Kyr::System::Commons::Io::FileSystemError;
    MockSystemUseNotificationService();
    ~MockSystemUseNotificationService() override;
    MOCK_METHOD(FileSystemError, ReadNotification, (std::vector<std::uint8_t>&), (override));
    MOCK_METHOD(FileSystemError, WriteNotification, (const std::vector<std::uint8_t>&), (override));
};

} // namespace Kyr::Testing
