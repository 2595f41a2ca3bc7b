#pragma once
#include <cstdint>

#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmEnums.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// One user's password state as the administrator's user list shows it.
struct PasswordInfo : Kyr::System::Commons::Logging::Loggable<PasswordInfo> {
    Kyr::System::Um::Services::UserPasswordState passwordState = Kyr::System::Um::Services::UserPasswordState::Valid;
    String userName;
    std::uint64_t timeToExpire = 0;
    bool isUsingInitialPassword = false;

    // Takes over every field of the service's record.
    void Assign(const Kyr::System::Um::Services::Internal::UserPasswordInfo& info);

    // Makes `value` an object with "passwordState", "userName", "timeToExpire",
    // "isUsingInitialPassword" in this order; strings are copied into the document.
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
