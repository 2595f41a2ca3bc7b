#pragma once
// The text that tells a user every password rule their new password breaks. It must fit the
// service's error text (127 bytes): long forms first, then short forms, and only if even those do
// not fit, whole items are dropped from the end and "…" closes the text. Never contains the password.
#include <cstddef>
#include <string>
#include <vector>

#include "PasswordRules.h"

namespace Kyr::PlatformServices {

constexpr std::size_t MaxErrorTextBytes = 127;

std::string DescribeViolations(const std::vector<RuleViolation>& violations, std::size_t limit = MaxErrorTextBytes);

} // namespace Kyr::PlatformServices
