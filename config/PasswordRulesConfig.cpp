#include "config/PasswordRulesConfig.h"

#include <utility>

#include "Kyr/System/Commons/Exceptions.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

using Kyr::System::Commons::ParseException;

void PasswordRulesConfig::AddRoleRuleset(const Roleruleset& ruleset) {
    rulesets.emplace_back(ruleset);
}

const PasswordRuleset* PasswordRulesConfig::Find(const String& name) const {
    for (const PasswordRuleset& ruleset : rulesets) {
        if (name == ruleset.GetRoleruleset().roleRulesetName.c_str()) return &ruleset;
    }
    return nullptr;
}

bool PasswordRulesConfig::GetRscRoleRuleSet(const String& name, Roleruleset& ruleset) const {
    const PasswordRuleset* found = Find(name);
    if (found == nullptr) return false;
    ruleset = found->GetRoleruleset();
    return true;
}

bool PasswordRulesConfig::CheckRscRoleRuleSetExists(const String& name) const {
    return Find(name) != nullptr;
}

void PasswordRulesConfig::ToJson(rapidjson::Document& document, rapidjson::Value& value) const {
    rapidjson::Value array(rapidjson::kArrayType);
    for (const PasswordRuleset& ruleset : rulesets) {
        rapidjson::Value element(rapidjson::kObjectType);
        ruleset.ToJson(document, element);
        array.PushBack(element, document.GetAllocator());
    }
    value.AddMember("passwordRoleRulesets", array, document.GetAllocator());
}

bool PasswordRulesConfig::ParseJson(const String& json) {
    rapidjson::Document document;
    JsonHelper::Parse(document, json);
    if (document.HasParseError() || !document.IsObject()) {
        LogError("Invalid password role rulesets document root object!");
        return false;
    }
    auto array = document.FindMember("passwordRoleRulesets");
    if (array == document.MemberEnd() || !array->value.IsArray()) {
        LogError("Invalid password role rulesets array object!");
        return false;
    }
    try {
        for (const rapidjson::Value& element : array->value.GetArray()) {
            if (!element.IsObject()) {
                LogError("Invalid password role ruleset object found");
                return false;
            }
            PasswordRuleset ruleset;
            ruleset.ParseJson(element);
            rulesets.push_back(std::move(ruleset));
        }
    } catch (const ParseException& error) {
        LogError("Failed to parse rulesets JSON Array. Error: {0}", error.GetMessage());
        return false;
    } catch (...) {
        LogError("Unknown Exception while parsing rulesets JSON array");
        return false;
    }
    return true;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
