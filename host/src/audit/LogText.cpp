#include "audit/LogText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <optional>

namespace Kyr::WbmHost {

namespace {
// How one byte shows in a log line.
Kyr::String Printable(unsigned char c) {
    switch (c) {
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: return c < 0x20 || c == 0x7f ? fmt::format("\\x{:02x}", c) : Kyr::String(1, static_cast<char>(c));
    }
}
} // namespace

// An escape that would not fit in `maxLength` any more is left out with the rest.
Kyr::String OneLine(const Kyr::String& text, std::size_t maxLength) {
    Kyr::String line;
    line.reserve(std::min(text.size(), maxLength) + 8);
    for (unsigned char c : text) {
        const Kyr::String shown = Printable(c);
        if (line.size() + shown.size() > maxLength) {
            line += "...";
            break;
        }
        line += shown;
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

// A password value: text[begin, end) is shown as "***"; a JSON string that the text leaves open
// is closed after the mask.
struct MaskedValue {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool closeQuote = false;
};

// Finds the password values of a text in order, each name looked at once. Names and form values
// found before are remembered, so that the whole text is read in linear time even when names and
// values nest in each other.
class PasswordValues {
public:
    explicit PasswordValues(const Kyr::String& text) : text(text) {}

    // The value of the field whose name contains "password" at `at`, when a value follows the name.
    std::optional<MaskedValue> At(std::size_t at) {
        // A name that ends where the last one did is that name, seen from a later letter.
        if (at + 8 <= lastNameEnd) return std::nullopt;
        std::size_t nameEnd = at + 8;
        while (nameEnd < text.size() && text[nameEnd] != '&' && text[nameEnd] != '=' && text[nameEnd] != '"' &&
               !IsSpace(text[nameEnd]))
            ++nameEnd;
        lastNameEnd = nameEnd;
        if (nameEnd < text.size() && text[nameEnd] == '=') return FormValue(nameEnd + 1); // up to the next & or space
        if (nameEnd < text.size() && text[nameEnd] == '"') {                            // JSON "...password...": "value"
            std::size_t valueStart = SkipSpaces(text, nameEnd + 1);
            if (valueStart < text.size() && text[valueStart] == ':') valueStart = SkipSpaces(text, valueStart + 1);
            if (valueStart < text.size() && text[valueStart] == '"') return JsonValue(valueStart + 1);
        }
        return std::nullopt;
    }

private:
    MaskedValue FormValue(std::size_t begin) {
        if (begin > lastFormEnd) {
            lastFormEnd = begin;
            while (lastFormEnd < text.size() && text[lastFormEnd] != '&' && !IsSpace(text[lastFormEnd])) ++lastFormEnd;
        }
        return MaskedValue{begin, lastFormEnd, false};
    }

    // A JSON string cannot start inside another one (its opening quote would end that one), so
    // these reads do not overlap.
    MaskedValue JsonValue(std::size_t begin) const {
        std::size_t end = begin;
        while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
        if (end >= text.size()) return MaskedValue{begin, text.size(), true};
        return MaskedValue{begin, end, false};
    }

    const Kyr::String& text;
    std::size_t lastNameEnd = 0;
    std::size_t lastFormEnd = 0;
};
} // namespace

// Every name is looked at, also one inside a value already hidden: a form value may run over the name
// of a JSON member (or the other way round), whose own value must not escape the mask. Overlapping
// values are hidden as one. One pass without regular expressions: a backtracking matcher would
// recurse once per character and overflow the stack on long request texts.
Kyr::String RedactPasswords(const Kyr::String& text) {
    Kyr::String redacted;
    redacted.reserve(text.size());
    PasswordValues values(text);
    std::size_t copied = 0;     // text before this is in `redacted` or hidden
    bool quoteAtEnd = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!PasswordAt(text, at)) continue;
        const std::optional<MaskedValue> value = values.At(at);
        if (!value) continue;
        if (value->begin >= copied) {
            redacted.append(text, copied, value->begin - copied).append("***");
        } else if (value->end <= copied) {
            continue; // hidden already
        }
        copied = std::max(copied, value->end);
        quoteAtEnd = value->closeQuote;
    }
    redacted.append(text, std::min(copied, text.size()), Kyr::String::npos);
    if (quoteAtEnd) redacted += '"';
    return redacted;
}

} // namespace Kyr::WbmHost
