#include "config/UserConfigItem.h"

#include "Kyr/System/Commons/Exceptions.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

namespace {
rapidjson::Value CopiedString(const String& text, rapidjson::Document::AllocatorType& allocator)
{
    return rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator);
}
} // namespace

void UserConfigItem::ToJson(rapidjson::Document& document, rapidjson::Value& value) const
{
    auto& allocator = document.GetAllocator();

    rapidjson::Value roles(rapidjson::kArrayType);
    for (const String& role : userRoles)
        roles.PushBack(CopiedString(role, allocator), allocator);

    rapidjson::Value password;
    passwordInfo.ToJson(document, password);

    value.SetObject();
    value.AddMember("userName", CopiedString(userName, allocator), allocator);
    value.AddMember("hasAdminRuleset", rapidjson::Value(hasAdminRuleset), allocator);
    value.AddMember("userRoles", roles, allocator);
    value.AddMember("passwordInfo", password, allocator);
}

bool UserConfigItem::ParseJson(const String& text)
{
    static const char* const itemName = "userConfigItem";

    rapidjson::Document document;
    JsonHelper::Parse(document, text);
    if (document.HasParseError() || !document.IsObject()) {
        LogError("Invalid user config item root object!");
        return false;
    }
    auto item = document.FindMember(itemName);
    if (item == document.MemberEnd() || !item->value.IsObject()) {
        LogError("Invalid user config item object!");
        return false;
    }

    try {
        String name = JsonHelper::GetJsonString(item->value, "userName", itemName);
        bool adminRuleset = JsonHelper::GetJsonBool(item->value, "hasAdminRuleset", itemName);
        std::vector<String> roles = JsonHelper::GetJsonStringArray(item->value, "userRoles", itemName);
        // Only a completely read item replaces the fields.
        userName = std::move(name);
        hasAdminRuleset = adminRuleset;
        userRoles = std::move(roles);
    } catch (const Kyr::System::Commons::ParseException& error) {
        LogError("Parse exception occured: {0}", error.GetMessage());
        return false;
    } catch (...) {
        LogError("Unknown Exception while parsing JSON object");
        return false;
    }
    return true;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
