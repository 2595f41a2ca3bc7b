#pragma once
#include <httplib.h>

#include <exception>

#include "HostContext.h"
#include "HostLoggers.h"
#include "LogText.h"

namespace Kyr::WbmHost {

using Route = void (*)(HostContext&, const httplib::Request&, httplib::Response&);

// `route` as a handler that answers for itself: a failure (of the services, say) is logged with the
// request's method and path and answered by `failed` (JSON for the API, HTML for pages).
inline httplib::Server::Handler Guarded(HostContext& context, Route route, void (*failed)(httplib::Response&)) {
    return [&context, route, failed](const httplib::Request& request, httplib::Response& response) {
        try {
            route(context, request, response);
        } catch (const std::exception& error) {
            HttpServer::LogError("{0} {1} failed: {2}", request.method, OneLine(request.path, 256), error.what());
            failed(response);
        }
    };
}

} // namespace Kyr::WbmHost
