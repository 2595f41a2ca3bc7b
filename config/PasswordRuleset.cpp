#include "config/PasswordRuleset.h"

#include <fmt/format.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

using Kyr::System::Commons::ParseException;
using Kyr::System::Um::Services::PasswordPolicyInterval;

namespace {

void AddString(rapidjson::Document& document, rapidjson::Value& value, const char* key, const String& text) {
    rapidjson::Value member(text.c_str(), static_cast<rapidjson::SizeType>(text.size()), document.GetAllocator());
    value.AddMember(rapidjson::StringRef(key), member, document.GetAllocator());
}

void AddUInt(rapidjson::Document& document, rapidjson::Value& value, const char* key, std::uint32_t number) {
    value.AddMember(rapidjson::StringRef(key), rapidjson::Value(number), document.GetAllocator());
}

void AddBool(rapidjson::Document& document, rapidjson::Value& value, const char* key, bool flag) {
    value.AddMember(rapidjson::StringRef(key), rapidjson::Value(flag), document.GetAllocator());
}

// The first member of that name, if it is an object.
const rapidjson::Value* FindObject(const rapidjson::Value& value, const char* key) {
    auto member = value.FindMember(key);
    if (member == value.MemberEnd() || !member->value.IsObject()) return nullptr;
    return &member->value;
}

} // namespace

void PasswordRuleset::ToJson(rapidjson::Document& document, rapidjson::Value& value) const {
    AddString(document, value, "roleRulesetName", ruleset.roleRulesetName.ToString());
    rapidjson::Value passwordPolicy(rapidjson::kObjectType);
    PasswordPolicyParameterToJson(document, passwordPolicy);
    value.AddMember("passwordPolicyParameter", passwordPolicy, document.GetAllocator());
    rapidjson::Value expirationPolicy(rapidjson::kObjectType);
    ExpirationPolicyParameterToJson(document, expirationPolicy);
    value.AddMember("expirationPolicyParameter", expirationPolicy, document.GetAllocator());
}

void PasswordRuleset::PasswordPolicyParameterToJson(rapidjson::Document& document, rapidjson::Value& value) const {
    const PasswordPolicyParameter& policy = ruleset.passwordPolicy;
    AddString(document, value, "allowedASCIISymbols", policy.allowedASCIISymbols.ToString());
    AddUInt(document, value, "reusedGenerationCount", policy.reusedGenerationCount);
    AddUInt(document, value, "allowedPasswordChanges", policy.allowedPasswordChanges);
    AddString(document, value, "intervalType", fmt::format("{}", policy.intervalType));
    AddUInt(document, value, "intervalCount", policy.intervalCount);
    AddBool(document, value, "blockUsername", policy.blockUsername);
    AddBool(document, value, "blockReusedPasswords", policy.blockReusedPasswords);
    AddBool(document, value, "checkBlockList", policy.checkBlockList);
    AddBool(document, value, "checkPwChangableInterval", policy.checkPwChangableInterval);
    AddUInt(document, value, "minCharCount", policy.minCharCount);
    AddUInt(document, value, "minASCIICount", policy.minASCIICount);
    AddUInt(document, value, "minMixedCharCount", policy.minMixedCharCount);
    AddUInt(document, value, "minNumberCount", policy.minNumberCount);
    AddUInt(document, value, "minSymbolCount", policy.minSymbolCount);
    AddUInt(document, value, "minUnicodeCount", policy.minUnicodeCount);
}

void PasswordRuleset::ExpirationPolicyParameterToJson(rapidjson::Document& document, rapidjson::Value& value) const {
    const ExpirationPolicyParameter& policy = ruleset.expirationPolicy;
    AddBool(document, value, "policyActive", policy.policyActive);
    AddBool(document, value, "lockUserActive", policy.lockUserActive);
    AddUInt(document, value, "daysToExpiration", policy.daysToExpiration);
    AddUInt(document, value, "daysToWarning", policy.daysToWarning);
}

void PasswordRuleset::ParseJson(const rapidjson::Value& value) {
    // Assign refuses a name that does not fit the 128-byte field ("Input string is too long").
    ruleset.roleRulesetName.Assign(JsonHelper::GetJsonString(value, "roleRulesetName", "passwordRoleRulesets"));

    const rapidjson::Value* passwordPolicy = FindObject(value, "passwordPolicyParameter");
    if (passwordPolicy == nullptr) throw ParseException("Invalid password policy parameter object");
    ParsePasswordPolicyParameterJson(*passwordPolicy);

    const rapidjson::Value* expirationPolicy = FindObject(value, "expirationPolicyParameter");
    if (expirationPolicy == nullptr) throw ParseException("Invalid expiration policy parameter object!");
    ParseExpirationPolicyParameterJson(*expirationPolicy);
}

void PasswordRuleset::ParsePasswordPolicyParameterJson(const rapidjson::Value& value) {
    static const char* const objectName = "passwordPolicyParameter";
    PasswordPolicyParameter& policy = ruleset.passwordPolicy;
    policy.allowedASCIISymbols.Assign(JsonHelper::GetJsonString(value, "allowedASCIISymbols", objectName));
    policy.reusedGenerationCount = JsonHelper::GetJsonUInt(value, "reusedGenerationCount", objectName);
    policy.allowedPasswordChanges = JsonHelper::GetJsonUInt(value, "allowedPasswordChanges", objectName);
    policy.intervalType = JsonHelper::ParseJsonEnum<PasswordPolicyInterval>(
        JsonHelper::GetJsonString(value, "intervalType", objectName));
    policy.intervalCount = JsonHelper::GetJsonUInt(value, "intervalCount", objectName);
    policy.blockUsername = JsonHelper::GetJsonBool(value, "blockUsername", objectName);
    policy.blockReusedPasswords = JsonHelper::GetJsonBool(value, "blockReusedPasswords", objectName);
    policy.checkBlockList = JsonHelper::GetJsonBool(value, "checkBlockList", objectName);
    policy.checkPwChangableInterval = JsonHelper::GetJsonBool(value, "checkPwChangableInterval", objectName);
    policy.minCharCount = JsonHelper::GetJsonUInt(value, "minCharCount", objectName);
    policy.minASCIICount = JsonHelper::GetJsonUInt(value, "minASCIICount", objectName);
    policy.minMixedCharCount = JsonHelper::GetJsonUInt(value, "minMixedCharCount", objectName);
    policy.minNumberCount = JsonHelper::GetJsonUInt(value, "minNumberCount", objectName);
    policy.minSymbolCount = JsonHelper::GetJsonUInt(value, "minSymbolCount", objectName);
    policy.minUnicodeCount = JsonHelper::GetJsonUInt(value, "minUnicodeCount", objectName);
}

void PasswordRuleset::ParseExpirationPolicyParameterJson(const rapidjson::Value& value) {
    static const char* const objectName = "expirationPolicyParameter";
    ExpirationPolicyParameter& policy = ruleset.expirationPolicy;
    policy.policyActive = JsonHelper::GetJsonBool(value, "policyActive", objectName);
    policy.lockUserActive = JsonHelper::GetJsonBool(value, "lockUserActive", objectName);
    policy.daysToExpiration = JsonHelper::GetJsonUInt(value, "daysToExpiration", objectName);
    policy.daysToWarning = JsonHelper::GetJsonUInt(value, "daysToWarning", objectName);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
