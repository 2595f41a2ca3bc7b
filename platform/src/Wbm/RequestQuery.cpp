#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"

namespace Kyr::Services::Commons::Wbm::Messages {

namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// "+" is a space and "%XX" a byte; a "%" not followed by two hex digits stays as written.
String UrlDecode(const String& text) {
    String decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+') {
            decoded += ' ';
        } else if (c == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
                   HexValue(text[i + 2]) >= 0) {
            decoded += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
            i += 2;
        } else {
            decoded += c;
        }
    }
    return decoded;
}

} // namespace

bool RequestQuery::TryGetParameterValue(const String& name, String& value, bool urlDecode) const {
    std::size_t start = 0;
    while (start <= queryString.size()) {
        std::size_t end = queryString.find('&', start);
        if (end == String::npos) end = queryString.size();
        const String pair = queryString.substr(start, end - start);
        const std::size_t equals = pair.find('=');
        const String key = pair.substr(0, equals);
        if (!pair.empty() && key == name) {
            const String raw = equals == String::npos ? String() : pair.substr(equals + 1);
            value = urlDecode ? UrlDecode(raw) : raw;
            return true;
        }
        start = end + 1;
    }
    return false;
}

} // namespace Kyr::Services::Commons::Wbm::Messages
