#include "HttpServerSetup.h"

#include "ApiRoutes.h"
#include "HeaderLimitedServer.h"
#include "HostLoggers.h"
#include "JsonBodies.h"
#include "LogText.h"
#include "PageRoutes.h"

namespace Kyr::WbmHost {

namespace {
constexpr std::size_t threadCount = 8;

std::size_t HeaderBytes(const httplib::Request& request) {
    std::size_t total = request.method.size() + request.target.size() + request.version.size() + 4;
    for (const auto& [name, value] : request.headers) total += name.size() + value.size() + 4;
    return total;
}

const char* StatusText(int status) {
    switch (status) {
    case 400: return "Bad request";
    case 401: return "Login required";
    case 403: return "Forbidden";
    case 404: return "Not found";
    case 405: return "Method not allowed";
    case 411: return "Request body length required";
    case 413: return "Request body too large";
    case 414: return "Request target too long";
    case 431: return "Request headers too large";
    case 503: return "Service unavailable";
    default: return status >= 500 ? "Internal error" : "Request refused";
    }
}

bool IsApi(const httplib::Request& request) { return request.path.rfind("/api/", 0) == 0; }

// The methods whose body the HTTP library reads before routing.
bool CarriesBody(const httplib::Request& request) {
    for (const char* method : {"POST", "PUT", "PATCH", "DELETE", "PRI"})
        if (request.method == method) return true;
    return false;
}

httplib::Server::HandlerResponse Refuse(httplib::Response& response, int status) {
    response.status = status;
    // The unread body must not be taken for the next request.
    response.set_header("Connection", "close");
    response.set_content(ErrorBody(StatusText(status)), JsonContentType);
    return httplib::Server::HandlerResponse::Handled;
}

// Refuses oversized requests before their body is read. A body must announce its length: a chunked
// body, or one that ends only with the connection, would be read without any limit.
httplib::Server::HandlerResponse CheckLimits(HostContext& context, const httplib::Request& request,
                                             httplib::Response& response) {
    if (HeaderBytes(request) > context.limits.headers) return Refuse(response, 431);
    if (request.has_header("Transfer-Encoding") || (CarriesBody(request) && !request.has_header("Content-Length")))
        return Refuse(response, 411);
    if (request.has_header("Content-Length")) {
        const auto length = request.get_header_value<std::uint64_t>("Content-Length");
        const std::size_t limit = context.HasLiveSession(request) ? context.limits.bodyWithSession
                                                                  : context.limits.bodyWithoutSession;
        if (length > limit) return Refuse(response, 413);
    }
    return httplib::Server::HandlerResponse::Unhandled;
}
} // namespace

std::unique_ptr<httplib::Server> CreateHttpServer(HostContext& context) {
    // Start line and headers: room for the longest allowed target and headers, and the read timeout.
    auto server = std::make_unique<HeaderLimitedServer>(context.limits.headers + 8 * 1024 + 1024, std::chrono::seconds(10));
    server->new_task_queue = [] { return new httplib::ThreadPool(threadCount); };
    server->set_payload_max_length(context.limits.bodyWithSession);
    server->set_read_timeout(10, 0);
    server->set_write_timeout(10, 0);
    // Short, so that a stop does not wait long for idle browser connections.
    server->set_keep_alive_timeout(2);
    server->set_keep_alive_max_count(100);
    server->set_default_headers({{"X-Content-Type-Options", "nosniff"},
                                 {"X-Frame-Options", "DENY"},
                                 {"Referrer-Policy", "no-referrer"}});

    server->set_pre_routing_handler([&context](const httplib::Request& request, httplib::Response& response) {
        return CheckLimits(context, request, response);
    });
    server->set_error_handler([](const httplib::Request& request, httplib::Response& response) {
        if (!response.body.empty()) return;
        if (IsApi(request))
            response.set_content(ErrorBody(StatusText(response.status)), JsonContentType);
        else
            response.set_content(Kyr::String("<!DOCTYPE html><title>Error</title><h1>") +
                                     StatusText(response.status) + "</h1>\n",
                                 "text/html; charset=utf-8");
    });
    server->set_exception_handler([](const httplib::Request& request, httplib::Response& response, std::exception_ptr) {
        HttpServer::LogError("{0} {1}: unexpected exception", request.method, OneLine(request.path, 256));
        response.status = 500;
        response.set_content(ErrorBody("Internal error"), JsonContentType);
    });
    // Paths only: query strings may carry passwords (ChangeCurrentUserPassword).
    server->set_logger([](const httplib::Request& request, const httplib::Response& response) {
        HttpServer::LogInfo("{0} {1} {2} {3}", request.remote_addr, request.method, OneLine(request.path, 256),
                            response.status);
    });

    InstallApiRoutes(*server, context);
    InstallPageRoutes(*server, context);
    return server;
}

} // namespace Kyr::WbmHost
