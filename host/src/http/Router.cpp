#include "http/Router.h"

#include <set>

#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"

namespace Kyr::WbmHost {

namespace {
std::vector<std::string> SplitPath(const std::string& path) {
    std::vector<std::string> segments;
    std::size_t start = path.empty() || path[0] != '/' ? 0 : 1;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        segments.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return segments;
}
} // namespace

void Router::Add(std::string method, std::string pattern, RouteFunction function, FromMemoryTest fromMemory) {
    routes.push_back(Route{std::move(method), SplitPath(pattern), std::move(function), std::move(fromMemory)});
}

const Router::Route* Router::Find(HttpRequest& request) const {
    std::vector<std::string> captures;
    for (const auto& route : routes) {
        if (route.method != request.method || !Match(route, request.path, captures)) continue;
        request.matches = std::move(captures);
        return &route;
    }
    return nullptr;
}

bool Router::AnswersFromMemory(HttpRequest& request) const {
    const Route* route = Find(request);
    return route && route->fromMemory && route->fromMemory(request);
}

bool Router::Match(const Route& route, const std::string& path, std::vector<std::string>& captures) {
    if (path.empty() || path[0] != '/') return false;
    captures.assign(1, path);
    std::size_t start = 1;
    for (std::size_t i = 0; i < route.segments.size(); ++i) {
        const std::string& expected = route.segments[i];
        if (expected == "*" && i + 1 == route.segments.size()) {
            captures.push_back(path.substr(start));
            return true;
        }
        if (start > path.size()) return false;
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        const std::string segment = path.substr(start, end - start);
        if (expected == "{}") {
            if (segment.empty()) return false;
            captures.push_back(segment);
        } else if (segment != expected) {
            return false;
        }
        start = end + 1;
    }
    return start == path.size() + 1;
}

bool Router::MatchesPath(const std::string& path) const {
    std::vector<std::string> captures;
    for (const auto& route : routes)
        if (Match(route, path, captures)) return true;
    return false;
}

void Router::Dispatch(HttpRequest& request, HttpResponse& response) const {
    std::set<std::string> allowed;
    for (const auto& route : routes) {
        std::vector<std::string> captures;
        if (!Match(route, request.path, captures)) continue;
        if (route.method != request.method) {
            allowed.insert(route.method);
            continue;
        }
        request.matches = std::move(captures);
        route.function(request, response);
        return;
    }
    const bool api = request.path.rfind("/api/", 0) == 0;
    if (allowed.empty()) {
        response.status = 404;
    } else {
        response.status = 405;
        std::string allow;
        for (const auto& method : allowed) allow += (allow.empty() ? "" : ", ") + method;
        response.SetHeader("Allow", allow);
    }
    if (api)
        response.SetContent(ErrorBody(StatusText(response.status)), JsonContentType);
    else
        response.SetContent(HtmlErrorPage(StatusText(response.status)), HtmlContentType);
}

} // namespace Kyr::WbmHost
