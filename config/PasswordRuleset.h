#pragma once
#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// JSON form of one password role ruleset: its name, its password composition rules and its
// password ageing rules, converted to and from the service struct.
class PasswordRuleset : public Kyr::System::Commons::Logging::Loggable<PasswordRuleset> {
public:
    using Roleruleset = Kyr::System::Um::Services::Internal::Roleruleset;
    using PasswordPolicyParameter = Kyr::System::Um::Services::Internal::PasswordPolicyParameter;
    using ExpirationPolicyParameter = Kyr::System::Um::Services::Internal::ExpirationPolicyParameter;

    PasswordRuleset() = default;
    explicit PasswordRuleset(const Roleruleset& ruleset) : ruleset(ruleset) {}

    const Roleruleset& GetRoleruleset() const noexcept { return ruleset; }

    // Fills `value` (an object) with "roleRulesetName", "passwordPolicyParameter" and
    // "expirationPolicyParameter", in this order.
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;
    void PasswordPolicyParameterToJson(rapidjson::Document& document, rapidjson::Value& value) const;
    void ExpirationPolicyParameterToJson(rapidjson::Document& document, rapidjson::Value& value) const;

    // Reads one element of the "passwordRoleRulesets" array. Throws on bad input (ParseException
    // from the readers, ArgumentException for an over-long text, Exception for a bad interval
    // text); fields read before the failure stay stored.
    void ParseJson(const rapidjson::Value& value);
    void ParsePasswordPolicyParameterJson(const rapidjson::Value& value);
    void ParseExpirationPolicyParameterJson(const rapidjson::Value& value);

private:
    Roleruleset ruleset;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
