#include "StubServices.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "Kyr/Device/Interface/IDeviceControlService.h"
#include "Kyr/Services/SecurityStoreManager/ITrustStoreManagementService.h"
#include "Kyr/System/Acf/IAuthorizationService.h"
#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"
#include "Kyr/System/Rsc/ServiceManager.h"
#include "Kyr/System/Um/Services/IUserManagementService.h"
#include "Kyr/System/Um/Services/IUserManagerConfigurationService.h"

namespace Kyr::Fuzzing {

namespace {

using Kyr::System::Rsc::RscString;
namespace Um = Kyr::System::Um::Services;
using Um::UserManagerConfigError;

class Users final : public Um::IUserManagementService {
public:
    bool AddUser(const RscString<64>&, const RscString<128>&) override { return true; }
    bool RemoveUser(const RscString<64>&) override { return true; }
    bool SetUserPassword(const RscString<64>&, const RscString<128>&) override { return true; }
    bool ChangeUserPassword(const RscString<64>&, const RscString<128>&, const RscString<128>&) override { return true; }
    RscString<128> GetLastErrorText() override { return RscString<128>("refused"); }
    std::vector<RscString<64>> GetUsers() override { return {RscString<64>("admin"), RscString<64>("user")}; }
    bool HasAdminRuleset(const RscString<64>&) override { return true; }
    bool SetAdminRuleset(const RscString<64>&, bool) override { return true; }
    std::vector<RscString<64>> GetUserRoles(const RscString<64>&) override { return {RscString<64>("Admin")}; }
    std::vector<RscString<64>> GetAllRoles() override { return {RscString<64>("Admin"), RscString<64>("Viewer")}; }
    bool SetUserRoles(const RscString<64>&, const std::vector<RscString<64>>&) override { return true; }
    bool GetAllUsersPasswordInfo(std::vector<Um::Internal::UserPasswordInfo>&) override { return true; }
    bool GetPasswordInfoBySecurityToken(const Kyr::System::Acf::SecurityToken&, Um::Internal::UserPasswordInfo& info) override {
        info.userName = RscString<64>("admin");
        return true;
    }
    bool GetAuthenticationRequired() override { return true; }
    bool GetAuthenticationDeactivatable() override { return true; }
    bool SetAuthenticationRequired(bool) override { return true; }
};

// Keeps the last LDAP file it was given (copied, as the handler removes its upload afterwards).
class Configuration final : public Um::IUserManagerConfigurationService {
public:
    explicit Configuration(std::filesystem::path stored) : stored(std::move(stored)) {}
    UserManagerConfigError GetActiveAdminRoleRuleset(Um::Internal::Roleruleset&) override { return {}; }
    UserManagerConfigError GetActiveDefaultRoleRuleset(Um::Internal::Roleruleset&) override { return {}; }
    UserManagerConfigError SetAdminRoleRuleset(const Um::Internal::Roleruleset&) override { return {}; }
    UserManagerConfigError SetDefaultRoleRuleset(const Um::Internal::Roleruleset&) override { return {}; }
    UserManagerConfigError GetActivePasswordsBlockList(std::vector<RscString<128>>& list) override {
        list = {RscString<128>("password")};
        return {};
    }
    UserManagerConfigError SetActivePasswordsBlockList(const std::vector<RscString<128>>&) override { return {}; }
    UserManagerConfigError GetSessionPolicyParameter(Um::Internal::SessionPolicyParameter&) override { return {}; }
    UserManagerConfigError SetSessionPolicyParameter(const Um::Internal::SessionPolicyParameter&) override { return {}; }
    UserManagerConfigError EnableLdapConfiguration(bool) override { return {}; }
    bool IsLdapConfigurationEnabled() override { return true; }
    UserManagerConfigError SetLdapConfigurationFromFile(const RscString<256>& path, bool) override {
        std::error_code error;
        std::filesystem::copy_file(path.ToString(), stored, std::filesystem::copy_options::overwrite_existing, error);
        return error ? static_cast<UserManagerConfigError>(4) : UserManagerConfigError{};
    }
    UserManagerConfigError GetLdapConfigurationFilePath(RscString<256>& path) override {
        path = RscString<256>(stored.string());
        return {};
    }

private:
    std::filesystem::path stored;
};

class Authorization final : public Kyr::System::Acf::Services::IAuthorizationService {
public:
    bool HasPermission(const RscString<512>&, std::uint32_t, const Kyr::System::Acf::SecurityToken&) override { return true; }
};

class DeviceControl final : public Kyr::Device::Interface::Services::IDeviceControlService {
public:
    bool RestartDevice() override { return true; }
};

class TrustStores final : public Kyr::Services::SecurityStoreManager::ITrustStoreManagementService {
public:
    std::vector<RscString<64>> GetTrustStoreNames() override { return {RscString<64>("ca")}; }
};

class LoginText final : public Kyr::System::Commons::Services::ISystemUseNotificationService {
public:
    Kyr::System::Commons::Io::FileSystemError ReadNotification(std::vector<std::uint8_t>& notification) override {
        notification = text;
        return {};
    }
    Kyr::System::Commons::Io::FileSystemError WriteNotification(const std::vector<std::uint8_t>& notification) override {
        text = notification;
        return {};
    }

private:
    std::vector<std::uint8_t> text;
};

template <class Factory>
void Publish(std::shared_ptr<Kyr::System::Rsc::IRscService> service) {
    Kyr::System::Rsc::ServiceManager::RegisterService(Factory::GetInstance().GetServiceName(), std::move(service));
}

} // namespace

StubServices::StubServices() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kyr-fuzz-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    folder = pattern;
    using namespace Kyr::System;
    Publish<Um::UserManagementServiceProxyFactory>(std::make_shared<Users>());
    Publish<Um::UserManagerConfigurationServiceProxyFactory>(std::make_shared<Configuration>(folder / "ldap-stored.conf"));
    Publish<Acf::Services::AuthorizationServiceProxyFactory>(std::make_shared<Authorization>());
    Publish<Kyr::Device::Interface::Services::DeviceControlServiceProxyFactory>(std::make_shared<DeviceControl>());
    Publish<Kyr::Services::SecurityStoreManager::TrustStoreManagementServiceProxyFactory>(std::make_shared<TrustStores>());
    Publish<Commons::Services::SystemUseNotificationServiceProxyFactory>(std::make_shared<LoginText>());
}

StubServices::~StubServices() {
    Kyr::System::Rsc::ServiceManager::Clear();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

} // namespace Kyr::Fuzzing
