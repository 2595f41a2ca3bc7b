#include "http/HttpMessage.h"

#include <algorithm>
#include <cctype>

namespace Kyr::WbmHost {

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
           });
}

std::string HttpRequest::Header(std::string_view name) const {
    for (const auto& [key, value] : headers)
        if (EqualsIgnoringCase(key, name)) return value;
    return {};
}

std::vector<std::string> HttpRequest::HeaderValues(std::string_view name) const {
    std::vector<std::string> values;
    for (const auto& [key, value] : headers)
        if (EqualsIgnoringCase(key, name)) values.push_back(value);
    return values;
}

bool HttpRequest::HasHeader(std::string_view name) const {
    return std::any_of(headers.begin(), headers.end(), [&](const auto& header) { return EqualsIgnoringCase(header.first, name); });
}

void HttpResponse::SetHeader(std::string name, std::string value) {
    headers.erase(std::remove_if(headers.begin(), headers.end(),
                                 [&](const auto& header) { return EqualsIgnoringCase(header.first, name); }),
                  headers.end());
    AddHeader(std::move(name), std::move(value));
}

void HttpResponse::AddHeader(std::string name, std::string value) { headers.emplace_back(std::move(name), std::move(value)); }

std::string HttpResponse::Header(std::string_view name) const {
    for (const auto& [key, value] : headers)
        if (EqualsIgnoringCase(key, name)) return value;
    return {};
}

void HttpResponse::SetContent(std::string content, std::string contentType) {
    body = std::move(content);
    SetHeader("Content-Type", std::move(contentType));
}

void HttpResponse::Redirect(std::string location, int redirectStatus) {
    status = redirectStatus;
    SetHeader("Location", std::move(location));
}

namespace {
int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool PercentDecode(std::string_view encoded, bool plusIsSpace, std::string& decoded) {
    decoded.clear();
    decoded.reserve(encoded.size());
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        const char c = encoded[i];
        if (c == '%') {
            const int high = i + 1 < encoded.size() ? HexValue(encoded[i + 1]) : -1;
            const int low = i + 2 < encoded.size() ? HexValue(encoded[i + 2]) : -1;
            if (high < 0 || low < 0) return false;
            decoded.push_back(static_cast<char>(high * 16 + low));
            i += 2;
        } else {
            decoded.push_back(plusIsSpace && c == '+' ? ' ' : c);
        }
    }
    return true;
}
} // namespace

bool DecodePath(std::string_view encoded, std::string& decoded) { return PercentDecode(encoded, false, decoded); }

std::string QueryValue(std::string_view query, std::string_view name) {
    std::size_t start = 0;
    while (start <= query.size()) {
        std::size_t end = query.find('&', start);
        if (end == std::string_view::npos) end = query.size();
        const std::string_view pair = query.substr(start, end - start);
        const std::size_t equals = pair.find('=');
        std::string key;
        if (PercentDecode(pair.substr(0, equals), true, key) && key == name) {
            std::string value;
            if (equals != std::string_view::npos && PercentDecode(pair.substr(equals + 1), true, value)) return value;
            return {};
        }
        start = end + 1;
    }
    return {};
}

} // namespace Kyr::WbmHost
