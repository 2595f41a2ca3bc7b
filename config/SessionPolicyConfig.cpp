#include "config/SessionPolicyConfig.h"

#include "Kyr/System/Commons/Exceptions.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

using Kyr::System::Commons::ParseException;

void SessionPolicyConfig::ToJson(rapidjson::Document& document, rapidjson::Value& value) const {
    auto& allocator = document.GetAllocator();
    value.AddMember("timeoutInitialSeconds", parameter.timeoutInitialSeconds, allocator);
    value.AddMember("timeoutIncrementSeconds", parameter.timeoutIncrementSeconds, allocator);
    value.AddMember("timeoutMaximumSeconds", parameter.timeoutMaximumSeconds, allocator);
    value.AddMember("maxConcurrentSessionsCount", parameter.maxConcurrentSessionsCount, allocator);
    value.AddMember("maxSessionTimeMinutes", parameter.maxSessionTimeMinutes, allocator);
    value.AddMember("issueTimeoutToAdminUsers", parameter.issueTimeoutToAdminUsers, allocator);
}

bool SessionPolicyConfig::ParseJson(const String& json) {
    rapidjson::Document document;
    JsonHelper::Parse(document, json);
    if (document.HasParseError() || !document.IsObject()) {
        LogError("Invalid session policy config document root object!");
        return false;
    }
    auto wrapper = document.FindMember("sessionPolicyParameter");
    if (wrapper == document.MemberEnd() || !wrapper->value.IsObject()) {
        LogError("Invalid session policy parameter config object!");
        return false;
    }
    const rapidjson::Value& object = wrapper->value;
    static const char* const objectName = "sessionPolicyParameter";
    try {
        parameter.timeoutInitialSeconds = JsonHelper::GetJsonUInt(object, "timeoutInitialSeconds", objectName);
        parameter.timeoutIncrementSeconds = JsonHelper::GetJsonUInt(object, "timeoutIncrementSeconds", objectName);
        parameter.timeoutMaximumSeconds = JsonHelper::GetJsonUInt(object, "timeoutMaximumSeconds", objectName);
        parameter.maxConcurrentSessionsCount = JsonHelper::GetJsonUInt(object, "maxConcurrentSessionsCount", objectName);
        parameter.maxSessionTimeMinutes = JsonHelper::GetJsonUInt(object, "maxSessionTimeMinutes", objectName);
        parameter.issueTimeoutToAdminUsers = JsonHelper::GetJsonBool(object, "issueTimeoutToAdminUsers", objectName);
    } catch (const ParseException& error) {
        LogError("Parse exception occured: {0}", error.GetMessage());
        return false;
    } catch (...) {
        LogError("Unknown Exception while parsing JSON object");
        return false;
    }
    return true;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
