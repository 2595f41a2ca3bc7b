// UmHandler's copy of the policy areas its set-requests can change, taken at set-up, and the
// restore that a failing set-request triggers. The copy is never refreshed, so a restore always
// returns an area to its set-up state.
#include <utility>
#include <vector>

#include "Kyr/System/Commons/RscString.h"
#include "handlers/UmHandler.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::System::Rsc::RscString;
using Kyr::System::Um::Services::UserManagerConfigError;
using Kyr::System::Um::Services::Internal::Roleruleset;
using Kyr::System::Um::Services::Internal::SessionPolicyParameter;

namespace {
bool Failed(UserManagerConfigError result) { return result != UserManagerConfigError::NoError; }
} // namespace

void UmHandler::InitializeBackups() {
    // A failed backup is never retried: restores stay refused for the handler's life.
    if (!backupError && BackupSessionPolicyConfig() && BackupPasswordsBlockList() && BackupPasswordRulesConfig()) {
        LogInfo("User manager configuration backuped");
        return;
    }
    backupError = true;
    LogError("Failed to backup user manager configuration!");
}

bool UmHandler::BackupSessionPolicyConfig() {
    if (!userManagerConfigurationService) return false;
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
    std::vector<RscString<128>> entries;
    const UserManagerConfigError result = userManagerConfigurationService->GetActivePasswordsBlockList(entries);
    if (Failed(result)) {
        LogError("Failed to backup active block list with error: {0}", result);
        return false;
    }
    std::vector<String> texts;
    texts.reserve(entries.size());
    for (const auto& entry : entries) texts.push_back(entry.ToString());
    passwordsBlockListBackup = Config::PasswordsBlockList(std::move(texts));
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
        std::vector<RscString<128>> entries;
        entries.reserve(passwordsBlockListBackup.GetEntries().size());
        for (const String& entry : passwordsBlockListBackup.GetEntries()) entries.emplace_back(entry);
        const UserManagerConfigError result = userManagerConfigurationService->SetActivePasswordsBlockList(entries);
        if (Failed(result)) LogError("Backup restore - Failed to set active passwords block list. Error: {0}", result);
        blockListChanged = false;
    }
    if (adminRulesetChanged) {
        LogInfo("Restoring admin password role ruleset...");
        // Left empty (name "") when the backup holds no ruleset named "admin".
        Roleruleset ruleset;
        passwordRulesBackup.GetRscRoleRuleSet(adminRulesetName, ruleset);
        const UserManagerConfigError result = userManagerConfigurationService->SetAdminRoleRuleset(ruleset);
        // The published log line names the default ruleset for both.
        if (Failed(result)) LogError("Backup restore - Failed to set default password role ruleset. Error: {0}", result);
        adminRulesetChanged = false;
    }
    if (defaultRulesetChanged) {
        LogInfo("Restoring default password role ruleset...");
        Roleruleset ruleset;
        passwordRulesBackup.GetRscRoleRuleSet(defaultRulesetName, ruleset);
        const UserManagerConfigError result = userManagerConfigurationService->SetDefaultRoleRuleset(ruleset);
        if (Failed(result)) LogError("Backup restore - Failed to set default password role ruleset. Error: {0}", result);
        defaultRulesetChanged = false;
    }
    return true;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
