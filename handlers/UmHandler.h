#pragma once
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "config/PasswordRulesConfig.h"
#include "config/PasswordsBlockList.h"
#include "config/SessionPolicyConfig.h"
#include "handlers/UmWbmHandlerBase.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "UserManagementDp" and page "UserManager": the administrator's side of user
// management (users, roles, password and session policies, authentication switch, restart).
class UmHandler : public UmWbmHandlerBase,
                  public Kyr::Services::Commons::Wbm::Modules::WbmPageHandlerBase,
                  public Kyr::System::Commons::Logging::Loggable<UmHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    UmHandler();
    ~UmHandler() override;

    // Answer for both the data provider and the page.
    bool IsAvailable() const override;
    bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();
    // Takes the policy backups; called by the module's set-up after the services are subscribed. A
    // missing configuration service counts as a failed backup: restores are then refused.
    void InitializeBackups();

    // ---- User administration ------------------------------------------------------------------
    // An over-long user name (64 bytes or more), role (64) or password (128) throws the platform's
    // ArgumentException "Input string is too long" out of these functions.

    WbmResponse GetUserManagementConfig(const WbmRequest& request) const;
    WbmResponse IsUserAuthenticationRequired(const WbmRequest& request) const;
    WbmResponse IsAuthenticationDeactivatable(const WbmRequest& request) const;
    WbmResponse AddUser(const WbmRequest& request) const;
    WbmResponse RemoveUser(const WbmRequest& request) const;
    WbmResponse RestartSystem(const WbmRequest& request) const;
    WbmResponse SetUserPassword(const WbmRequest& request) const;
    WbmResponse ModifyUserConfig(const WbmRequest& request) const;
    WbmResponse SetAuthenticationRequiredState(const WbmRequest& request) const;

    // True for a name of 1 to 63 bytes that is not exactly one backslash.
    static bool ValidateUserName(const String& userName);

    // ---- Password and session policies --------------------------------------------------------
    // (UmHandlerPolicies.cpp; the backup and its restore in UmHandlerBackup.cpp)

    // Names under which the administrator and default password role rulesets are looked up.
    static constexpr const char* adminRulesetName = "admin";
    static constexpr const char* defaultRulesetName = "default";

    WbmResponse GetSessionPolicyConfig(const WbmRequest& request) const;
    WbmResponse GetPasswordRoleRulesets(const WbmRequest& request) const;
    WbmResponse GetPasswordBlockList(const WbmRequest& request) const;
    // Not const: they record which policy area they changed and restore the backup on failure.
    WbmResponse SetSessionPolicyConfig(const WbmRequest& request);
    WbmResponse SetPasswordBlockList(const WbmRequest& request);
    WbmResponse SetPasswordRoleRulesets(const WbmRequest& request);

private:
    bool BackupSessionPolicyConfig();
    bool BackupPasswordsBlockList();
    bool BackupPasswordRulesConfig();
    // Writes the backup back for every area whose flag is set and clears those flags; refused (false)
    // after a backup error.
    bool RestoreUmConfigBackup();

    Config::SessionPolicyConfig sessionPolicyBackup;
    Config::PasswordsBlockList passwordsBlockListBackup;
    Config::PasswordRulesConfig passwordRulesBackup; // only appended to
    // Set by the last call of the matching service setter; cleared only by a restore.
    bool blockListChanged = false;
    bool sessionPolicyChanged = false;
    bool adminRulesetChanged = false;
    bool defaultRulesetChanged = false;
    bool backupError = false;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
