// Feeds arbitrary bytes, as received on a connection, to the host's request head handling: Beast's
// parser with the host's head limit, then the host's own checks (method, target and header limits,
// path decoding, body length), and for an accepted head what the routes read from it: the session
// cookie, query values, the route and page name, the static file of the path. Nothing may crash or
// hang; a refusal is one of the statuses the host documents; an accepted head is within its limits;
// a session cookie has the form of a session id; no path reads a file outside the web root.
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/error.hpp>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>

#include <unistd.h>

#include "app/HostContext.h"
#include "http/HttpMessage.h"
#include "http/Router.h"
#include "net/RequestHead.h"
#include "static/StaticFiles.h"

namespace {

namespace fs = std::filesystem;
namespace http = boost::beast::http;
using namespace Kyr::WbmHost;

// The host's three body limits by the kind of route, without sessions.
class BodyLimits final : public RequestHandler {
public:
    explicit BodyLimits(const ServerLimits& limits) : limits(limits) {}
    std::size_t BodyLimit(const HttpRequest& head) const override {
        if (head.path == "/api/login") return limits.bodyWithoutSession;
        return head.path.rfind("/api/", 0) == 0 ? limits.formBody : limits.bodyWithSession;
    }
    bool AnswersFromMemory(HttpRequest&) const override { return false; }
    void Handle(HttpRequest&, HttpResponse&) override {}

private:
    const ServerLimits& limits;
};

// A web root with one page, and beside it a file that a path must never reach (a link points to it).
struct WebRoot {
    fs::path base = fs::temp_directory_path() / ("kyr-fuzz-web-" + std::to_string(::getpid()));
    fs::path root = base / "web";
    WebRoot() {
        fs::create_directories(root / "pages");
        std::ofstream(root / "pages" / "Users.html") << "<p>users</p>";
        std::ofstream(base / "outside.txt") << "OUTSIDE";
        std::error_code ignored;
        fs::create_symlink(base / "outside.txt", root / "link.txt", ignored);
    }
    ~WebRoot() {
        std::error_code ignored;
        fs::remove_all(base, ignored);
    }
};

void CheckRoutes(HttpRequest& request) {
    Router router;
    router.Add("POST", "/api/login", [](HttpRequest&, HttpResponse&) {});
    router.Add("GET", "/api/{}/{}", [](HttpRequest& matched, HttpResponse&) {
        if (matched.matches.size() != 3 || matched.matches[1].empty() || matched.matches[2].empty()) std::abort();
    });
    router.Add("GET", "/pages/{}", [](HttpRequest& matched, HttpResponse&) {
        const std::string& page = matched.matches.at(1);
        if (page.empty() || page.find('/') != std::string::npos) std::abort();
    });
    router.Add("GET", "/*", [](HttpRequest&, HttpResponse&) {});
    HttpResponse response;
    router.Dispatch(request, response);
    if (response.status != 200 && response.status != 404 && response.status != 405) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ServerLimits limits;
    static const BodyLimits handler(limits);
    static const WebRoot web;

    RequestParser parser;
    parser.header_limit(static_cast<std::uint32_t>(limits.headBytes));
    parser.body_limit(std::numeric_limits<std::uint64_t>::max());
    boost::beast::error_code error;
    parser.put(boost::asio::buffer(data, size), error);
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        const int status = OversizedHeadStatus(std::string_view(reinterpret_cast<const char*>(data), size), limits);
        if (status != 414 && status != 431) std::abort();
        return 0;
    }
    if (!parser.is_header_done()) return 0;

    HttpRequest request;
    request.remoteAddress = "127.0.0.1";
    const HeadVerdict verdict = CheckRequestHead(parser, limits, handler, request);
    if (verdict.refusal) {
        const int status = verdict.refusal->status;
        if (status != 400 && status != 405 && status != 411 && status != 413 && status != 414 && status != 431) std::abort();
        return 0;
    }
    if (request.target.size() > limits.targetBytes || request.path.empty() || request.path[0] != '/') std::abort();
    if (parser.content_length().value_or(0) > verdict.bodyLimit) std::abort();

    if (const auto session = HostContext::SessionCookie(request)) {
        if (session->size() != 64 || !std::all_of(session->begin(), session->end(), [](unsigned char c) { return std::isxdigit(c); }))
            std::abort();
    }
    QueryValue(request.query, "next");
    QueryValue(request.query, "from");
    CheckRoutes(request);
    if (const auto file = ReadStaticFile(web.root.string(), request.path)) {
        if (file->content == "OUTSIDE") std::abort();
    }
    return 0;
}
