#include "RecoveryCodes.h"

#include <sodium.h>

#include <cctype>
#include <stdexcept>

namespace Kyr::PlatformServices::RecoveryCodes {

namespace {
// No 0/o, 1/l/i or u: nothing that reads as another character.
constexpr char Alphabet[] = "23456789abcdefghjkmnpqrstvwxyz";
constexpr std::size_t GroupLength = 5;
} // namespace

std::vector<std::string> Generate() {
    if (sodium_init() < 0) throw std::runtime_error("libsodium cannot be initialised");
    constexpr auto letters = static_cast<std::uint32_t>(sizeof Alphabet - 1);
    std::vector<std::string> codes;
    for (std::size_t i = 0; i < Count; ++i) {
        std::string code;
        for (std::size_t j = 0; j < 2 * GroupLength; ++j) {
            if (j == GroupLength) code += '-';
            code += Alphabet[randombytes_uniform(letters)];
        }
        codes.push_back(code);
    }
    return codes;
}

std::string Normalise(const std::string& typed) {
    std::string letters;
    for (unsigned char c : typed)
        if (std::isalnum(c)) letters += static_cast<char>(std::tolower(c));
    if (letters.size() != 2 * GroupLength) return letters;
    return letters.substr(0, GroupLength) + "-" + letters.substr(GroupLength);
}

} // namespace Kyr::PlatformServices::RecoveryCodes
