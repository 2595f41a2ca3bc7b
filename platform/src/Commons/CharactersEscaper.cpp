#include <utility>

#include "Kyr/System/Commons/Sanitization/Filters.h"

namespace Kyr::System::Commons::Sanitization {

CharactersEscaper::CharactersEscaper(String name, String charactersToEscape, String escapePrefix)
    : FilterBase(std::move(name)), charactersToEscape(std::move(charactersToEscape)), escapePrefix(std::move(escapePrefix)) {}

String CharactersEscaper::Filter(const String& input) const {
    String output;
    output.reserve(input.size());
    for (char byte : input) {
        if (charactersToEscape.find(byte) != String::npos) output += escapePrefix;
        output += byte;
    }
    return output;
}

} // namespace Kyr::System::Commons::Sanitization
