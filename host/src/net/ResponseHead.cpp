#include "net/ResponseHead.h"

#include <ostream> // Boost's string_view, under the status names, needs it

#include <boost/beast/http/status.hpp>

namespace Kyr::WbmHost {

namespace {
bool OneLineText(const std::string& text) { return text.find_first_of("\r\n") == std::string::npos; }
} // namespace

std::string ResponseHead(const HttpResponse& response, bool closeAfter) {
    const auto status = static_cast<boost::beast::http::status>(response.status);
    const auto reason = boost::beast::http::obsolete_reason(status);
    std::string head = "HTTP/1.1 " + std::to_string(response.status) + " ";
    head.append(reason.data(), reason.size());
    head += "\r\n";
    for (const auto& [name, value] : response.headers) {
        if (EqualsIgnoringCase(name, "Content-Length") || EqualsIgnoringCase(name, "Connection")) continue;
        if (!OneLineText(name) || !OneLineText(value)) continue;
        head += name + ": " + value + "\r\n";
    }
    if (closeAfter) head += "Connection: close\r\n";
    head += "Content-Length: " + std::to_string(response.body.size()) + "\r\n\r\n";
    return head;
}

} // namespace Kyr::WbmHost
