#include "AuthorizationService.h"

#include <algorithm>

#include "Defaults.h"
#include "Schema.h"

namespace Kyr::PlatformServices {

namespace {
// Held by every logged-in user: the own password information and the device information page.
constexpr const char* PermissionsOfEveryUser[] = {"kyr.services.wbm/modules/Um/UserManagerInfo",
                                                  "kyr.services.wbm/information"};
} // namespace

bool AuthorizationService::HasPermission(const Kyr::System::Rsc::RscString<512>& objectName, std::uint32_t right,
                                         const Kyr::System::Acf::SecurityToken& token) {
    try {
        return HasPermissionChecked(objectName.ToString(), right, token);
    } catch (const std::exception& error) {
        // When in doubt, refuse.
        LogError("Permission check failed: {0}", error.what());
        return false;
    }
}

bool AuthorizationService::HasPermissionChecked(const std::string& object, std::uint32_t right,
                                                const Kyr::System::Acf::SecurityToken& token) {
    std::optional<String> userName;
    if (!token.IsAnonymous()) userName = context->sessions.FindUserOfSession(token.GetSessionId());

    const auto accounts = context->accounts.Current();
    const AccountEntry* user = userName ? accounts->Find(*userName) : nullptr;
    // A directory user holds the roles its last login mapped (local users win over directory users).
    std::optional<std::vector<std::string>> directoryRoles =
        userName && !user ? context->directoryUsers.RolesOf(*userName) : std::nullopt;
    if (user || directoryRoles) {
        const std::vector<std::string>& roles = user ? user->roles : *directoryRoles;
        if (std::find(roles.begin(), roles.end(), AdminRole) != roles.end()) return true;
        if (std::find(std::begin(PermissionsOfEveryUser), std::end(PermissionsOfEveryUser), object) !=
            std::end(PermissionsOfEveryUser))
            return true;
        return std::any_of(roles.begin(), roles.end(),
                           [&](const std::string& role) { return accounts->RoleHolds(role, object, right); });
    }
    bool authenticationRequired = !context->options.authenticationDeactivatable || accounts->authenticationRequiredSetting;
    if (authenticationRequired) return false;
    return accounts->RoleHolds(UnauthenticatedRole, object, right);
}

} // namespace Kyr::PlatformServices
