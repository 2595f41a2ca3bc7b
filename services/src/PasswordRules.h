#pragma once
// The password composition rules of a ruleset, checked without any stored state. What each field of
// PasswordPolicyParameter means here:
//   minCharCount       at least N characters (Unicode code points, not bytes)
//   minASCIICount      at least N ASCII letters (A-Z, a-z)
//   minMixedCharCount  at least N upper-case AND at least N lower-case ASCII letters
//   minNumberCount     at least N digits 0-9
//   minSymbolCount     at least N symbols, counted only from allowedASCIISymbols; any other
//                      printable ASCII symbol (space included) refuses the password
//   minUnicodeCount    at least N non-ASCII characters
//   blockUsername      the user name (3 bytes or longer) may not appear inside the password,
//                      compared without regard to ASCII case
//   checkBlockList     the whole password may not equal a block-list entry, ASCII case ignored
// Control characters and malformed UTF-8 are always refused. Reuse and change-interval rules need
// the user's history and are checked by the user-management service.
#include <cstdint>
#include <string>
#include <vector>

#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::PasswordPolicyInterval;
using Kyr::System::Um::Services::Internal::PasswordPolicyParameter;

enum class PasswordRule {
    TooShort,
    Letters,
    MixedCase,
    Digits,
    Symbols,
    NonAscii,
    SymbolNotAllowed,
    ControlCharacter,
    InvalidUtf8,
    ContainsUserName,
    BlockListed,
    Reused,
    ChangeLimit,
};

struct RuleViolation {
    PasswordRule rule;
    std::uint32_t count = 0; // the rule's number: the minimum, reuse generations or allowed changes
    std::uint32_t intervalCount = 0;
    PasswordPolicyInterval intervalType = PasswordPolicyInterval::Day;
};

// Every composition rule that `password` breaks, in the order of the PasswordRule enumeration.
std::vector<RuleViolation> CheckPasswordComposition(const PasswordPolicyParameter& policy, const std::string& password,
                                                    const std::string& userName,
                                                    const std::vector<std::string>& blockList);

// ASCII-only lower-casing, used for the case-insensitive comparisons.
std::string AsciiLower(std::string text);

// Whether `text` is well-formed UTF-8.
bool IsValidUtf8(const std::string& text);

} // namespace Kyr::PlatformServices
