#include "net/RequestHead.h"

#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/SecurityHeaders.h"

namespace Kyr::WbmHost {

namespace http = boost::beast::http;

namespace {

std::size_t HeaderFieldBytes(const http::fields& fields) {
    std::size_t total = 0;
    for (const auto& field : fields) total += field.name_string().size() + field.value().size() + 4;
    return total;
}

HeadVerdict Refused(int status, const HttpRequest& request) {
    return HeadVerdict{ErrorResponse(status, request.path, StatusText(status)), 0};
}

} // namespace

HttpResponse ErrorResponse(int status, const std::string& path, const std::string& text) {
    HttpResponse response;
    response.status = status;
    if (path.rfind("/api/", 0) == 0)
        response.SetContent(ErrorBody(text), JsonContentType);
    else
        response.SetContent(HtmlErrorPage(text), HtmlContentType);
    return response;
}

int OversizedHeadStatus(std::string_view received, const ServerLimits& limits) {
    const std::size_t lineEnd = received.find("\r\n");
    return lineEnd == std::string_view::npos || lineEnd > limits.targetBytes + 32 ? 414 : 431;
}

HeadVerdict CheckRequestHead(const RequestParser& parser, const ServerLimits& limits, const RequestHandler& handler,
                             HttpRequest& request) {
    const auto& head = parser.get();
    request.method = std::string(head.method_string());
    request.target = std::string(head.target());
    const std::size_t mark = request.target.find('?');
    if (mark != std::string::npos) request.query = request.target.substr(mark + 1);
    const bool pathValid = DecodePath(std::string_view(request.target).substr(0, mark), request.path);
    for (const auto& field : head) request.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));

    if (request.method != "GET" && request.method != "POST") {
        HttpResponse refused = ErrorResponse(405, request.path, StatusText(405));
        refused.SetHeader("Allow", "GET, POST");
        return HeadVerdict{std::move(refused), 0};
    }
    if (request.target.size() > limits.targetBytes) return Refused(414, request);
    if (HeaderFieldBytes(head) > limits.headerBytes) return Refused(431, request);
    if (!pathValid || request.target.empty() || request.target[0] != '/') return Refused(400, request);
    // A body must announce its length: a chunked one would be read without a known size.
    if (parser.chunked() || request.HasHeader("Transfer-Encoding")) return Refused(411, request);
    const auto length = parser.content_length();
    if (request.method == "POST" && !length) return Refused(411, request);
    if (request.method == "GET" && length.value_or(0) > 0)
        return HeadVerdict{ErrorResponse(400, request.path, ErrorText::GetWithBody), 0};
    const std::size_t limit = handler.BodyLimit(request);
    if (length.value_or(0) > limit) return Refused(413, request);
    return HeadVerdict{std::nullopt, limit};
}

} // namespace Kyr::WbmHost
