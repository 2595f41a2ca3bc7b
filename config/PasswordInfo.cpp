#include "config/PasswordInfo.h"

#include <fmt/format.h>

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

void PasswordInfo::Assign(const Kyr::System::Um::Services::Internal::UserPasswordInfo& info)
{
    passwordState = info.passwordState;
    timeToExpire = info.timeToExpire;
    userName = info.userName.ToString();
    isUsingInitialPassword = info.isUsingInitialPassword;
}

void PasswordInfo::ToJson(rapidjson::Document& document, rapidjson::Value& value) const
{
    auto& allocator = document.GetAllocator();
    // The state's text is the platform's own printed form of the enumerator.
    const String stateText = fmt::format("{}", passwordState);

    value.SetObject();
    value.AddMember("passwordState", rapidjson::Value(stateText.data(), static_cast<rapidjson::SizeType>(stateText.size()), allocator), allocator);
    value.AddMember("userName", rapidjson::Value(userName.data(), static_cast<rapidjson::SizeType>(userName.size()), allocator), allocator);
    value.AddMember("timeToExpire", rapidjson::Value(static_cast<uint64_t>(timeToExpire)), allocator);
    value.AddMember("isUsingInitialPassword", rapidjson::Value(isUsingInitialPassword), allocator);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
