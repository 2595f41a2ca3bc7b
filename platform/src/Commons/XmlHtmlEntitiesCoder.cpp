#include <boost/property_tree/detail/xml_parser_utils.hpp>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "Kyr/System/Commons/Sanitization/Filters.h"

namespace Kyr::System::Commons::Sanitization {

namespace {

void AppendUtf8(String& output, std::uint32_t codePoint) {
    if (codePoint < 0x80) {
        output += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        output += static_cast<char>(0xC0 | (codePoint >> 6));
        output += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        output += static_cast<char>(0xE0 | (codePoint >> 12));
        output += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        output += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        output += static_cast<char>(0xF0 | (codePoint >> 18));
        output += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
        output += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        output += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

// The text of a numeric reference body ("#65", "#x41") as a code point; false when it is none.
bool ParseNumericReference(const String& body, std::uint32_t& codePoint) {
    if (body.size() < 2 || body[0] != '#') return false;
    const bool hex = body[1] == 'x' || body[1] == 'X';
    const String digits = body.substr(hex ? 2 : 1);
    if (digits.empty() || digits.size() > 8) return false;
    for (char c : digits) {
        const bool ok = hex ? std::isxdigit(static_cast<unsigned char>(c)) != 0 : (c >= '0' && c <= '9');
        if (!ok) return false;
    }
    const unsigned long value = std::strtoul(digits.c_str(), nullptr, hex ? 16 : 10);
    if (value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
    codePoint = static_cast<std::uint32_t>(value);
    return true;
}

// Decodes the five named XML entities and numeric references; anything else is kept as written.
String DecodeEntities(const String& input) {
    static const std::pair<const char*, char> named[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    String output;
    output.reserve(input.size());
    std::size_t position = 0;
    while (position < input.size()) {
        const char c = input[position];
        // A reference body is at most 11 bytes ("#x10FFFF" and the names fit), so ';' is looked for
        // only that far: a long text of '&' without ';' still takes linear time.
        const std::size_t found = c == '&' ? std::string_view(input).substr(position + 1, 12).find(';') : String::npos;
        if (found == String::npos) {
            output += c;
            ++position;
            continue;
        }
        const std::size_t end = position + 1 + found;
        const String body = input.substr(position + 1, end - position - 1);
        bool decoded = false;
        for (const auto& entity : named) {
            if (body == entity.first) {
                output += entity.second;
                decoded = true;
                break;
            }
        }
        std::uint32_t codePoint = 0;
        if (!decoded && ParseNumericReference(body, codePoint)) {
            AppendUtf8(output, codePoint);
            decoded = true;
        }
        if (decoded) {
            position = end + 1;
        } else {
            output += c;
            ++position;
        }
    }
    return output;
}

} // namespace

XmlHtmlEntitiesCoder::XmlHtmlEntitiesCoder(String name, int mode) : FilterBase(std::move(name)), mode(mode) {}

String XmlHtmlEntitiesCoder::Filter(const String& input) const {
    switch (mode) {
    case static_cast<int>(XmlHtmlEntitiesCoderMode::Encode):
        return boost::property_tree::xml_parser::encode_char_entities(input);
    case static_cast<int>(XmlHtmlEntitiesCoderMode::Decode):
        return DecodeEntities(input);
    default:
        return input;
    }
}

} // namespace Kyr::System::Commons::Sanitization
