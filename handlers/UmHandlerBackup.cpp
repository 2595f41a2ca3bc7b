// UmHandler's copy of the policy areas its set-requests can change, taken at set-up, and the
// restore that a failing set-request triggers. The copy is never refreshed, so a restore always
// returns an area to its set-up state.
#include "handlers/UmHandler.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::System::Um::Services::IUserManagerConfigurationService;
using Kyr::System::Um::Services::UserManagerConfigError;
using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;

namespace {
bool Failed(UserManagerConfigError result) { return result != UserManagerConfigError::NoError; }
} // namespace

void UmHandler::InitializeBackups() {
    // A failed backup is never retried: restores stay refused for the handler's life. Without the
    // configuration service (not published at set-up) there is nothing to copy: that counts as failed.
    if (!backupError && userManagerConfigurationService && BackupSessionPolicyConfig() && BackupPasswordsBlockList() &&
        BackupPasswordRulesConfig()) {
        LogInfo("User manager configuration backuped");
        return;
    }
    backupError = true;
    LogError("Failed to backup user manager configuration!");
}

bool UmHandler::BackupSessionPolicyConfig() {
    SessionPolicyParameter parameter;
    const UserManagerConfigError result = userManagerConfigurationService->GetSessionPolicyParameter(parameter);
    if (Failed(result)) {
        LogError("Failed to backup Session Policy Parameter with error: {0}", result);
        return false;
    }
    sessionPolicyBackup = Config::SessionPolicyConfig(parameter);
    return true;
}

bool UmHandler::BackupPasswordsBlockList() {
    Config::PasswordsBlockList::RscEntries entries;
    const UserManagerConfigError result = userManagerConfigurationService->GetActivePasswordsBlockList(entries);
    if (Failed(result)) {
        LogError("Failed to backup active block list with error: {0}", result);
        return false;
    }
    passwordsBlockListBackup = Config::PasswordsBlockList(entries);
    return true;
}

bool UmHandler::BackupPasswordRulesConfig() {
    Roleruleset adminRuleset;
    UserManagerConfigError result = userManagerConfigurationService->GetActiveAdminRoleRuleset(adminRuleset);
    if (Failed(result)) {
        LogError("Failed to backup active admin role ruleset: Error: {0}", result);
        return false;
    }
    Roleruleset defaultRuleset;
    result = userManagerConfigurationService->GetActiveDefaultRoleRuleset(defaultRuleset);
    if (Failed(result)) {
        // Shares the getter's log line.
        LogError("Failed to get active default role ruleset: Error: {0}", result);
        return false;
    }
    // Appended, not replaced: after a second set-up the lookups by name keep finding the first pair.
    passwordRulesBackup.AddRoleRuleset(adminRuleset);
    passwordRulesBackup.AddRoleRuleset(defaultRuleset);
    return true;
}

bool UmHandler::RestoreUmConfigBackup() {
    if (backupError) {
        LogError("Failed to restore UM config backup. a backup error was occurred");
        return false;
    }
    // Each area is put back on its own; a failure is logged and the next area still restored.
    if (sessionPolicyChanged) {
        LogInfo("Restoring session policy config...");
        const UserManagerConfigError result =
            userManagerConfigurationService->SetSessionPolicyParameter(sessionPolicyBackup.GetParameter());
        if (Failed(result)) LogError("Backup restore - Failed to set session policy parameter. Error: {0}", result);
        sessionPolicyChanged = false;
    }
    if (blockListChanged) {
        LogInfo("Restoring active password blocklist...");
        const UserManagerConfigError result =
            userManagerConfigurationService->SetActivePasswordsBlockList(passwordsBlockListBackup.ToRscEntries());
        if (Failed(result)) LogError("Backup restore - Failed to set active passwords block list. Error: {0}", result);
        blockListChanged = false;
    }
    // Left empty (name "") when the backup holds no ruleset of that name. The log line names the
    // default ruleset for both.
    const auto restoreRuleset = [this](const char* name, auto setRuleset) {
        Roleruleset ruleset;
        passwordRulesBackup.GetRscRoleRuleSet(name, ruleset);
        const UserManagerConfigError result = (userManagerConfigurationService.get()->*setRuleset)(ruleset);
        if (Failed(result)) LogError("Backup restore - Failed to set default password role ruleset. Error: {0}", result);
    };
    if (adminRulesetChanged) {
        LogInfo("Restoring admin password role ruleset...");
        restoreRuleset(adminRulesetName, &IUserManagerConfigurationService::SetAdminRoleRuleset);
        adminRulesetChanged = false;
    }
    if (defaultRulesetChanged) {
        LogInfo("Restoring default password role ruleset...");
        restoreRuleset(defaultRulesetName, &IUserManagerConfigurationService::SetDefaultRoleRuleset);
        defaultRulesetChanged = false;
    }
    return true;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
