#pragma once
#include <rapidjson/document.h>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal::Config {

// The login session rules. The two JSON forms differ on purpose: the setter's request wraps the six
// keys in "sessionPolicyParameter", the getter's result holds them directly.
class SessionPolicyConfig : public Kyr::System::Commons::Logging::Loggable<SessionPolicyConfig> {
public:
    using SessionPolicyParameter = Kyr::System::Um::Services::Internal::SessionPolicyParameter;

    SessionPolicyConfig() = default;
    explicit SessionPolicyConfig(const SessionPolicyParameter& parameter) : parameter(parameter) {}

    // Writes the six keys flat into `value`.
    void ToJson(rapidjson::Document& document, rapidjson::Value& value) const;
    // Reads the wrapped form. Values are stored as they are read, also when a later key fails.
    bool ParseJson(const String& json);

    const SessionPolicyParameter& GetParameter() const noexcept { return parameter; }

private:
    SessionPolicyParameter parameter;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal::Config
