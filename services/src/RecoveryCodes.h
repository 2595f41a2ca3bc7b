#pragma once
// One-time recovery codes: ten codes "xxxxx-xxxxx" from 30 unmistakable characters (49 random
// bits each, enough that a keyed hash without a slow KDF protects them).
#include <string>
#include <vector>

namespace Kyr::PlatformServices::RecoveryCodes {

inline constexpr std::size_t Count = 10;

std::vector<std::string> Generate();
// The code as it was made: lower case, without spaces; the hyphen in its place. Typing it in
// capitals, with spaces or without the hyphen does not matter.
std::string Normalise(const std::string& typed);

} // namespace Kyr::PlatformServices::RecoveryCodes
