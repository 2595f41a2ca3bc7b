#include "Kyr/PlatformServices/AuditEvents.h"

#include <algorithm>

namespace Kyr::PlatformServices::AuditEvents {

namespace {

struct ModuleFunction {
    const char* dataProvider;
    const char* function;
    const char* eventId;
};

// The module's request functions that change something; everything else only reads.
const ModuleFunction ChangingFunctions[] = {
    {"UserManagementDp", "AddUser", UserAdded},
    {"UserManagementDp", "RemoveUser", UserRemoved},
    {"UserManagementDp", "SetUserPassword", UserPasswordSet},
    {"UserManagementDp", "ModifyUserConfig", UserConfigChanged},
    {"UserManagementDp", "SetAuthenticationRequiredState", AuthenticationRequiredChanged},
    {"UserManagementDp", "RestartSystem", RestartRequested},
    {"UserManagementDp", "SetPasswordRoleRulesets", RulesetsChanged},
    {"UserManagementDp", "SetPasswordBlockList", BlockListChanged},
    {"UserManagementDp", "SetSessionPolicyConfig", SessionPolicyChanged},
    {"UserManagementInfoDp", "ChangeCurrentUserPassword", OwnPasswordChanged},
    {"LdapDp", "SetLdapConfiguration", LdapConfigurationUploaded},
    {"LdapDp", "SetLdapConfigurationEnabled", LdapEnabledChanged},
    {"SystemUseNotificationDp", "SetSystemUseNotification", LoginTextChanged},
};

} // namespace

const std::vector<EventInfo>& Catalogue() {
    static const std::vector<EventInfo> events = {
        {LoginSucceeded, CategoryAccess},
        {LoginFailed, CategoryAccess},
        {LoggedOut, CategoryAccess},
        {SessionEnded, CategoryAccess},
        {UserAdded, CategoryConfiguration},
        {UserRemoved, CategoryConfiguration},
        {UserPasswordSet, CategoryConfiguration},
        {OwnPasswordChanged, CategoryConfiguration},
        {UserConfigChanged, CategoryConfiguration},
        {AuthenticationRequiredChanged, CategoryConfiguration},
        {RulesetsChanged, CategoryConfiguration},
        {BlockListChanged, CategoryConfiguration},
        {SessionPolicyChanged, CategoryConfiguration},
        {LdapConfigurationUploaded, CategoryConfiguration},
        {LdapEnabledChanged, CategoryConfiguration},
        {LoginTextChanged, CategoryConfiguration},
        {RestartRequested, CategorySystem},
        {SecondFactorEnrolled, CategoryConfiguration},
        {SecondFactorRemoved, CategoryConfiguration},
        {SecondFactorReset, CategoryConfiguration},
        {SecondFactorPolicyChanged, CategoryConfiguration},
        {RecoveryCodeUsed, CategoryAccess},
        {SecondFactorCodeFailed, CategoryAccess},
        {InvalidRequest, CategoryRequest},
        {HostStarted, CategorySystem},
        {HostStopped, CategorySystem},
        {StorageWarning, CategoryAudit},
        {ForwardingResumed, CategoryAudit},
    };
    return events;
}

std::optional<std::string> CategoryOf(const std::string& eventId) {
    const auto& events = Catalogue();
    auto found = std::find_if(events.begin(), events.end(), [&](const EventInfo& event) { return eventId == event.id; });
    if (found == events.end()) return std::nullopt;
    return std::string(found->category);
}

std::optional<std::string> EventOfModuleFunction(const std::string& dataProvider, const std::string& function) {
    for (const ModuleFunction& entry : ChangingFunctions)
        if (dataProvider == entry.dataProvider && function == entry.function) return std::string(entry.eventId);
    return std::nullopt;
}

} // namespace Kyr::PlatformServices::AuditEvents
