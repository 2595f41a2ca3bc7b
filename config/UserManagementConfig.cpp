#include "config/UserManagementConfig.h"

#include <string_view>
#include <unordered_map>

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

using Kyr::System::Um::Services::Internal::UserPasswordInfo;

void UserManagementConfig::ToJson(rapidjson::Document& document, rapidjson::Value& value) const
{
    auto& allocator = document.GetAllocator();

    rapidjson::Value users(rapidjson::kArrayType);
    users.Reserve(static_cast<rapidjson::SizeType>(usersConfig.size()), allocator);
    for (const UserConfigItem& item : usersConfig) {
        rapidjson::Value itemValue;
        item.ToJson(document, itemValue);
        users.PushBack(itemValue, allocator);
    }

    rapidjson::Value roles(rapidjson::kArrayType);
    for (const String& role : allUserRoles)
        roles.PushBack(rapidjson::Value(role.data(), static_cast<rapidjson::SizeType>(role.size()), allocator), allocator);

    value.SetObject();
    value.AddMember("usersConfig", users, allocator);
    value.AddMember("allUserRoles", roles, allocator);
}

void UserManagementConfig::SetAllUsersPasswordsInfo(const std::vector<UserPasswordInfo>& infos)
{
    // One index over the entries instead of a scan per user; emplace keeps the first of a name.
    std::unordered_map<std::string_view, const UserPasswordInfo*> infoByName;
    infoByName.reserve(infos.size());
    for (const UserPasswordInfo& info : infos)
        infoByName.emplace(std::string_view(info.userName.c_str()), &info);

    for (UserConfigItem& item : usersConfig) {
        auto found = infoByName.find(item.userName);
        if (found != infoByName.end())
            item.passwordInfo.Assign(*found->second);
    }
}

std::vector<String> ListedRoles(const std::vector<Kyr::System::Rsc::RscString<64>>& roles)
{
    static const String unauthenticatedRole = "Unauthenticated";
    std::vector<String> listed;
    listed.reserve(roles.size());
    for (const auto& role : roles) {
        String name = role.ToString();
        if (name != unauthenticatedRole)
            listed.push_back(std::move(name));
    }
    return listed;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
