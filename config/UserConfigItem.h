#pragma once
#include <vector>

#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/String.h"
#include "config/PasswordInfo.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// One user of the administrator's user list: name, admin-ruleset flag, roles and password state.
struct UserConfigItem : Kyr::System::Commons::Logging::Loggable<UserConfigItem> {
    String userName;
    bool hasAdminRuleset = false;
    std::vector<String> userRoles;
    PasswordInfo passwordInfo;

    // Makes `value` an object with "userName", "hasAdminRuleset", "userRoles", "passwordInfo".
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;

    // Reads name, flag and roles from {"userConfigItem":{...}}; "passwordInfo" is ignored. On any
    // failure the reason is logged as an error, the item is left unchanged and false is returned.
    bool ParseJson(const String& text);
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
