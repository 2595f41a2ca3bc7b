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

namespace {
// Walks `path` along the pattern's segments, telling `capture` each captured part; false when the
// path does not fit. Views only: a request tries many routes, and most do not fit.
template <class Capture>
bool Walk(const std::vector<std::string>& segments, std::string_view path, Capture&& capture) {
    if (path.empty() || path[0] != '/') return false;
    std::size_t start = 1;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const std::string& expected = segments[i];
        if (expected == "*" && i + 1 == segments.size()) {
            capture(path.substr(start));
            return true;
        }
        if (start > path.size()) return false;
        std::size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        const std::string_view segment = path.substr(start, end - start);
        if (expected == "{}") {
            if (segment.empty()) return false;
            capture(segment);
        } else if (segment != expected) {
            return false;
        }
        start = end + 1;
    }
    return start == path.size() + 1;
}
} // namespace

bool Router::Match(const Route& route, const std::string& path, std::vector<std::string>& captures) {
    if (!Walk(route.segments, path, [](std::string_view) {})) return false;
    captures.assign(1, path);
    Walk(route.segments, path, [&captures](std::string_view part) { captures.emplace_back(part); });
    return true;
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
