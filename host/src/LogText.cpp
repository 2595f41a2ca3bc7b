#include "LogText.h"

#include <fmt/format.h>

#include <regex>

namespace Kyr::WbmHost {

Kyr::String OneLine(const Kyr::String& text, std::size_t maxLength) {
    Kyr::String line;
    line.reserve(std::min(text.size(), maxLength) + 8);
    for (unsigned char c : text) {
        if (line.size() >= maxLength) {
            line += "...";
            break;
        }
        switch (c) {
        case '\n': line += "\\n"; break;
        case '\r': line += "\\r"; break;
        case '\t': line += "\\t"; break;
        default:
            if (c < 0x20 || c == 0x7f)
                line += fmt::format("\\x{:02x}", c);
            else
                line += static_cast<char>(c);
        }
    }
    return line;
}

Kyr::String RedactPasswords(const Kyr::String& text) {
    // Compiled once; std::regex objects are safe to share for matching.
    static const std::regex formField(R"re(([^&=\s?"]*[Pp][Aa][Ss][Ss][Ww][Oo][Rr][Dd][^&=\s"]*=)[^&\s]*)re");
    static const std::regex jsonMember(R"re(("[^"]*[Pp][Aa][Ss][Ss][Ww][Oo][Rr][Dd][^"]*"\s*:\s*)"(?:[^"\\]|\\.)*")re");
    Kyr::String redacted = std::regex_replace(text, jsonMember, "$1\"***\"");
    return std::regex_replace(redacted, formField, "$1***");
}

} // namespace Kyr::WbmHost
