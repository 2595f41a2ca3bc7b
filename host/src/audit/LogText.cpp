#include "audit/LogText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

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

namespace {
bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

bool PasswordAt(const Kyr::String& text, std::size_t at) {
    static const char word[] = "password";
    if (text.size() - at < sizeof word - 1) return false;
    for (std::size_t i = 0; i + 1 < sizeof word; ++i)
        if (std::tolower(static_cast<unsigned char>(text[at + i])) != word[i]) return false;
    return true;
}

std::size_t SkipSpaces(const Kyr::String& text, std::size_t at) {
    while (at < text.size() && IsSpace(text[at])) ++at;
    return at;
}
} // namespace

// One pass without regular expressions: a backtracking matcher would recurse once per character and
// overflow the stack on long request texts.
Kyr::String RedactPasswords(const Kyr::String& text) {
    Kyr::String redacted;
    redacted.reserve(text.size());
    std::size_t at = 0;
    while (at < text.size()) {
        if (!PasswordAt(text, at)) {
            redacted += text[at++];
            continue;
        }
        std::size_t nameEnd = at + 8;
        while (nameEnd < text.size() && text[nameEnd] != '&' && text[nameEnd] != '=' && text[nameEnd] != '"' &&
               !IsSpace(text[nameEnd]))
            ++nameEnd;
        if (nameEnd < text.size() && text[nameEnd] == '=') { // form field: up to the next & or space
            redacted.append(text, at, nameEnd + 1 - at).append("***");
            at = nameEnd + 1;
            while (at < text.size() && text[at] != '&' && !IsSpace(text[at])) ++at;
            continue;
        }
        std::size_t valueStart = nameEnd + 1;
        if (nameEnd < text.size() && text[nameEnd] == '"') { // JSON member "...password...": "value"
            valueStart = SkipSpaces(text, valueStart);
            if (valueStart < text.size() && text[valueStart] == ':') valueStart = SkipSpaces(text, valueStart + 1);
        }
        if (nameEnd < text.size() && text[nameEnd] == '"' && valueStart < text.size() && text[valueStart] == '"') {
            redacted.append(text, at, valueStart + 1 - at).append("***\"");
            at = valueStart + 1;
            while (at < text.size() && text[at] != '"') at += text[at] == '\\' ? 2 : 1;
            at = std::min(at + 1, text.size());
            continue;
        }
        redacted.append(text, at, nameEnd - at);
        at = nameEnd;
    }
    return redacted;
}

} // namespace Kyr::WbmHost
