#pragma once
#include <string>

#include "app/HostContext.h"
#include "http/Router.h"

namespace Kyr::WbmHost {

using HostRoute = void (*)(HostContext&, const HttpRequest&, HttpResponse&);

// `route` with the host's context, as the router takes it.
inline RouteFunction Bound(HostContext& context, HostRoute route) {
    return [&context, route](HttpRequest& request, HttpResponse& response) { route(context, request, response); };
}

// A JSON answer of the API, never cached.
void JsonAnswer(HttpResponse& response, int status, std::string body);

bool CsrfTokenValid(const HttpRequest& request, const SessionInfo& session);

} // namespace Kyr::WbmHost
