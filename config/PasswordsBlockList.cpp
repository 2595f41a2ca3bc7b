#include "config/PasswordsBlockList.h"

#include "Kyr/System/Commons/Exceptions.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

using Kyr::System::Commons::ParseException;

PasswordsBlockList::PasswordsBlockList(const RscEntries& rscEntries) {
    entries.reserve(rscEntries.size());
    for (const auto& entry : rscEntries) entries.push_back(entry.ToString());
}

PasswordsBlockList::RscEntries PasswordsBlockList::ToRscEntries() const {
    return RscEntries(entries.begin(), entries.end());
}

void PasswordsBlockList::ToJson(rapidjson::Document& document, rapidjson::Value& value) const {
    rapidjson::Value array(rapidjson::kArrayType);
    for (const String& entry : entries) {
        array.PushBack(rapidjson::Value(entry.c_str(), static_cast<rapidjson::SizeType>(entry.size()), document.GetAllocator()),
                       document.GetAllocator());
    }
    value.AddMember("passwordsBlockList", array, document.GetAllocator());
}

bool PasswordsBlockList::ParseJson(const String& json) {
    rapidjson::Document document;
    JsonHelper::Parse(document, json);
    if (document.HasParseError() || !document.IsObject()) {
        LogError("Invalid password block list config document root object!");
        return false;
    }
    try {
        std::vector<String> parsed = JsonHelper::GetJsonStringArray(document, "passwordsBlockList", "root");
        entries.swap(parsed);
    } catch (const ParseException& error) {
        LogError("Failed to parse block list JSON Array. Error: {0}", error.GetMessage());
        return false;
    } catch (...) {
        LogError("Unknown Exception while parsing block list JSON object");
        return false;
    }
    return true;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
