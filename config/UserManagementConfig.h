#pragma once
#include <vector>

#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmStructs.h"
#include "config/UserConfigItem.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// The administrator's user list: every user, plus every role that can be given to a user.
struct UserManagementConfig : Kyr::System::Commons::Logging::Loggable<UserManagementConfig> {
    std::vector<UserConfigItem> usersConfig;
    std::vector<String> allUserRoles;

    // Makes `value` an object with "usersConfig" (array of items) and "allUserRoles".
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;

    // Gives each user item the password info whose user name equals the item's (byte-wise; the
    // first entry of a name wins). Items without an entry keep their password info. Linear in the
    // number of users and entries.
    void SetAllUsersPasswordsInfo(const std::vector<Kyr::System::Um::Services::Internal::UserPasswordInfo>& infos);
};

// The role names as the administrator sees them: the platform's pseudo role "Unauthenticated"
// (held by callers without a session) cannot be given or taken, so it is never listed.
std::vector<String> ListedRoles(const std::vector<Kyr::System::Rsc::RscString<64>>& roles);

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
