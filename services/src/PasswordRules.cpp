#include "PasswordRules.h"

#include <algorithm>

namespace Kyr::PlatformServices {

namespace {

// Length of the UTF-8 sequence starting at `index`, or 0 when it is malformed.
std::size_t Utf8SequenceLength(const std::string& text, std::size_t index) {
    auto byte = static_cast<unsigned char>(text[index]);
    std::size_t length = byte < 0x80 ? 1 : (byte >> 5) == 0x6 ? 2 : (byte >> 4) == 0xE ? 3 : (byte >> 3) == 0x1E ? 4 : 0;
    if (length == 0 || index + length > text.size()) return 0;
    std::uint32_t codePoint = length == 1 ? byte : byte & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        auto next = static_cast<unsigned char>(text[index + i]);
        if ((next & 0xC0) != 0x80) return 0;
        codePoint = (codePoint << 6) | (next & 0x3F);
    }
    static const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    bool overlong = codePoint < smallest[length];
    bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return overlong || surrogate || codePoint > 0x10FFFF ? 0 : length;
}

struct CharacterCounts {
    std::uint32_t characters = 0, upper = 0, lower = 0, digits = 0, symbols = 0, nonAscii = 0;
    bool disallowedSymbol = false, control = false, malformed = false;
};

CharacterCounts CountCharacters(const std::string& password, const std::string& allowedSymbols) {
    CharacterCounts counts;
    for (std::size_t i = 0; i < password.size();) {
        ++counts.characters;
        auto byte = static_cast<unsigned char>(password[i]);
        if (byte >= 0x80) {
            std::size_t length = Utf8SequenceLength(password, i);
            counts.malformed |= length == 0;
            ++counts.nonAscii;
            i += length == 0 ? 1 : length;
            continue;
        }
        ++i;
        if (byte >= 'A' && byte <= 'Z') ++counts.upper;
        else if (byte >= 'a' && byte <= 'z') ++counts.lower;
        else if (byte >= '0' && byte <= '9') ++counts.digits;
        else if (byte < 0x20 || byte == 0x7F) counts.control = true;
        else if (allowedSymbols.find(static_cast<char>(byte)) != std::string::npos) ++counts.symbols;
        else counts.disallowedSymbol = true;
    }
    return counts;
}

} // namespace

std::string AsciiLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

bool IsValidUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = Utf8SequenceLength(text, i);
        if (length == 0) return false;
        i += length;
    }
    return true;
}

std::vector<RuleViolation> CheckPasswordComposition(const PasswordPolicyParameter& policy, const std::string& password,
                                                    const std::string& userName,
                                                    const std::vector<std::string>& blockList) {
    CharacterCounts counts = CountCharacters(password, policy.allowedASCIISymbols.ToString());
    std::vector<RuleViolation> violations;
    auto require = [&](PasswordRule rule, std::uint32_t have, std::uint32_t minimum) {
        if (have < minimum) violations.push_back({rule, minimum});
    };
    // An empty password is always too short, whatever the ruleset says.
    require(PasswordRule::TooShort, counts.characters, std::max<std::uint32_t>(policy.minCharCount, 1));
    require(PasswordRule::Letters, counts.upper + counts.lower, policy.minASCIICount);
    require(PasswordRule::MixedCase, std::min(counts.upper, counts.lower), policy.minMixedCharCount);
    require(PasswordRule::Digits, counts.digits, policy.minNumberCount);
    require(PasswordRule::Symbols, counts.symbols, policy.minSymbolCount);
    require(PasswordRule::NonAscii, counts.nonAscii, policy.minUnicodeCount);
    if (counts.disallowedSymbol) violations.push_back({PasswordRule::SymbolNotAllowed});
    if (counts.control) violations.push_back({PasswordRule::ControlCharacter});
    if (counts.malformed) violations.push_back({PasswordRule::InvalidUtf8});

    std::string lowered = AsciiLower(password);
    if (policy.blockUsername && userName.size() >= 3 && lowered.find(AsciiLower(userName)) != std::string::npos)
        violations.push_back({PasswordRule::ContainsUserName});
    if (policy.checkBlockList &&
        std::any_of(blockList.begin(), blockList.end(),
                    [&](const std::string& entry) { return AsciiLower(entry) == lowered; }))
        violations.push_back({PasswordRule::BlockListed});
    return violations;
}

} // namespace Kyr::PlatformServices
