#pragma once
// What the server makes of a request head once Beast has parsed it, apart from any socket, so that
// the same code also runs on a plain buffer (the fuzz targets): the request as the routes will see
// it, or the answer that refuses it.
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "http/HttpMessage.h"
#include "net/RequestHandler.h"
#include "net/ServerLimits.h"

namespace Kyr::WbmHost {

using RequestParser = boost::beast::http::request_parser<boost::beast::http::string_body>;

// An error answer: the JSON error body under /api/, the HTML error page elsewhere.
HttpResponse ErrorResponse(int status, const std::string& path, const std::string& text);

// Which limit a head broke that was too long to parse, from the bytes received: the start line (414)
// or the header fields (431).
int OversizedHeadStatus(std::string_view received, const ServerLimits& limits);

struct HeadVerdict {
    std::optional<HttpResponse> refusal; // the answer, when the head breaks a limit or a rule
    std::size_t bodyLimit = 0;           // otherwise the largest body the request may carry
};

// Fills `request` (its address and `secure` already set) from the head `parser` has read: method,
// target, decoded path, query and header fields; then checks the method, the limits of target and
// header fields, the path, and the announced body length against what `handler` allows.
HeadVerdict CheckRequestHead(const RequestParser& parser, const ServerLimits& limits, const RequestHandler& handler,
                             HttpRequest& request);

} // namespace Kyr::WbmHost
