#pragma once
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kyr::WbmHost {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// A request as the routes see it: already read completely and within every limit of the server.
struct HttpRequest {
    std::string method;
    std::string target;        // as sent: path and query
    std::string path;          // the target's path, percent-decoded
    std::string query;         // what follows '?', as sent (not decoded)
    HeaderList headers;
    std::string body;
    std::string remoteAddress; // the peer's IP address
    bool secure = false;       // received over TLS
    std::vector<std::string> matches; // the route's captured path segments, [0] the whole path

    // The first value of header `name` (case-insensitive), or "" when there is none.
    std::string Header(std::string_view name) const;
    std::vector<std::string> HeaderValues(std::string_view name) const;
    bool HasHeader(std::string_view name) const;
};

struct HttpResponse {
    int status = 200;
    HeaderList headers;
    std::string body;
    bool closeConnection = false; // the connection ends after this answer

    // Replaces every header `name`.
    void SetHeader(std::string name, std::string value);
    void AddHeader(std::string name, std::string value);
    std::string Header(std::string_view name) const;
    void SetContent(std::string content, std::string contentType);
    void Redirect(std::string location, int redirectStatus = 302);
};

bool EqualsIgnoringCase(std::string_view left, std::string_view right);

// Percent-decodes a URL path ('+' stays '+'); nothing for a malformed escape.
bool DecodePath(std::string_view encoded, std::string& decoded);

// The value of `name` in a query string (the first occurrence, '+' as space, percent-decoded), or "".
std::string QueryValue(std::string_view query, std::string_view name);

} // namespace Kyr::WbmHost
