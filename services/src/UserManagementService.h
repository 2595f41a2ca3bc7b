#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Um/Services/IUserManagementService.h"
#include "PasswordExpiry.h"
#include "ServiceContext.h"
#include "UserStore.h"

namespace Kyr::PlatformServices {

namespace Um = Kyr::System::Um::Services;

// Users, roles and passwords over the database. Every new password is checked against the ruleset
// of its user (the admin ruleset when the user holds it, otherwise the default one). A password set
// by an administrator (AddUser, SetUserPassword) is an initial password that its user must change;
// the reuse and changes-per-interval rules apply to the user's own changes (ChangeUserPassword).
// GetLastErrorText answers the last failure of the calling thread.
class UserManagementService final : public Um::IUserManagementService,
                                    private Kyr::System::Commons::Logging::Loggable<UserManagementService> {
public:
    explicit UserManagementService(std::shared_ptr<ServiceContext> context);

    bool AddUser(const RscString<64>& userName, const RscString<128>& password) override;
    bool RemoveUser(const RscString<64>& userName) override;
    bool SetUserPassword(const RscString<64>& userName, const RscString<128>& newPassword) override;
    bool ChangeUserPassword(const RscString<64>& userName, const RscString<128>& currentPassword,
                            const RscString<128>& newPassword) override;
    RscString<128> GetLastErrorText() override;

    std::vector<RscString<64>> GetUsers() override;
    bool HasAdminRuleset(const RscString<64>& userName) override;
    bool SetAdminRuleset(const RscString<64>& userName, bool hasAdminRuleset) override;
    std::vector<RscString<64>> GetUserRoles(const RscString<64>& userName) override;
    std::vector<RscString<64>> GetAllRoles() override;
    bool SetUserRoles(const RscString<64>& userName, const std::vector<RscString<64>>& roles) override;
    bool GetAllUsersPasswordInfo(std::vector<Um::Internal::UserPasswordInfo>& infos) override;
    bool GetPasswordInfoBySecurityToken(const Kyr::System::Acf::SecurityToken& token,
                                        Um::Internal::UserPasswordInfo& info) override;

    bool GetAuthenticationRequired() override;
    bool GetAuthenticationDeactivatable() override;
    bool SetAuthenticationRequired(bool required) override;

    // For the host. The checks below CheckLogin answer from memory, without waiting for the database.
    LoginCheck CheckLogin(const std::string& userName, const std::string& password);
    bool IsAdministrator(const std::string& userName);
    bool IsPasswordChangeRequired(const std::string& userName);
    bool UserExists(const std::string& userName); // a local user, or a directory user with roles
    bool IsLocalUser(const std::string& userName);
    // Creates the user "admin" with the role "Admin" when there is no user at all; answers its password.
    std::optional<std::string> CreateInitialAdministrator(const std::string& givenPassword);

private:
    bool Fail(const std::string& text);
    template <class Operation>
    bool Guarded(const char* name, Operation&& operation);

    // Callers hold the database lock.
    Um::Internal::Roleruleset RulesetOf(const UserRecord& user);
    PasswordAge AgeOf(const UserRecord& user);
    Um::Internal::UserPasswordInfo InfoOf(const AccountsSnapshot& accounts, const AccountEntry& user);
    bool HoldsRole(const UserRecord& user, const std::string& role);

    std::shared_ptr<ServiceContext> context;
    Database& database;
};

} // namespace Kyr::PlatformServices
