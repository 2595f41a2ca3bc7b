#pragma once
// The JSON of the second-factor routes (docs/http-api.md, "Second factor").
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

// The string members `names` of a JSON object body, those present; nothing when the body is not an
// object or one of them is there but not a string.
std::optional<std::map<Kyr::String, Kyr::String>> ParseStringMembers(const Kyr::String& body,
                                                                    const std::vector<const char*>& names);

// {"secondFactorRequired":true,"challenge":..,"expiresInSeconds":300}
Kyr::String ChallengeBody(const Kyr::String& challenge, std::int64_t expiresInSeconds);
// {"enrolled":..,"required":..,"policy":..,"recoveryCodesLeft":n}
Kyr::String OwnSecondFactorBody(bool enrolled, bool required, const char* policy, std::uint32_t recoveryCodesLeft);
// {"secret":..,"otpauthUri":..,"qrCodeSvg":..}
Kyr::String EnrolmentBody(const Kyr::String& secret, const Kyr::String& otpauthUri, const Kyr::String& qrCodeSvg);
// {"recoveryCodes":[..]}
Kyr::String RecoveryCodesBody(const std::vector<Kyr::String>& codes);
// {"policy":..}
Kyr::String PolicyBody(const char* policy);
// {"users":[{"userName":..,"enrolled":true}, ...]}
Kyr::String EnrolledUsersBody(const std::vector<Kyr::String>& userNames);

} // namespace Kyr::WbmHost
