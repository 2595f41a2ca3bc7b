#pragma once
#include <vector>

#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmStructs.h"
#include "config/PasswordRuleset.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// The password role rulesets of a request or of the service, in insertion order. Names need not be
// unique; lookups take the first ruleset of a name.
class PasswordRulesConfig : public Kyr::System::Commons::Logging::Loggable<PasswordRulesConfig> {
public:
    using Roleruleset = Kyr::System::Um::Services::Internal::Roleruleset;

    void AddRoleRuleset(const Roleruleset& ruleset);
    // Copies the first ruleset named exactly `name` into `ruleset`; false (and `ruleset` untouched)
    // when there is none.
    bool GetRscRoleRuleSet(const String& name, Roleruleset& ruleset) const;
    bool CheckRscRoleRuleSetExists(const String& name) const;

    // Writes "passwordRoleRulesets": one object per ruleset, in list order.
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;
    // Appends the rulesets of a request body (the list is not cleared). Stops at the first bad
    // element and returns false; the rulesets appended before it stay.
    bool ParseJson(const String& json);

private:
    const PasswordRuleset* Find(const String& name) const;

    std::vector<PasswordRuleset> rulesets;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
