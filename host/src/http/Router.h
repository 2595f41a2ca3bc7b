#pragma once
#include <functional>
#include <string>
#include <vector>

#include "http/HttpMessage.h"

namespace Kyr::WbmHost {

using RouteFunction = std::function<void(HttpRequest&, HttpResponse&)>;
// Whether a route answers this request from memory alone, never waiting for the database, a file,
// the network or a lock held across such a wait: such answers are given on the network thread.
using FromMemoryTest = std::function<bool(const HttpRequest&)>;
inline bool AlwaysFromMemory(const HttpRequest&) { return true; }

// Finds the route of a request by method and path pattern. A pattern is a path whose segments are
// literal, "{}" (any one non-empty segment, captured) or, as the last one, "*" (the rest, captured).
// The first route that matches wins. A path that no pattern matches is 404; one that matches only
// routes of other methods is 405 with Allow.
class Router {
public:
    void Add(std::string method, std::string pattern, RouteFunction function, FromMemoryTest fromMemory = {});
    void Dispatch(HttpRequest& request, HttpResponse& response) const;
    // Whether the route that takes the request answers it from memory (see FromMemoryTest).
    bool AnswersFromMemory(HttpRequest& request) const;

    // Whether some route of another method than `method` would take `path` (for 405 before the body is read).
    bool MatchesPath(const std::string& path) const;

private:
    struct Route {
        std::string method;
        std::vector<std::string> segments;
        RouteFunction function;
        FromMemoryTest fromMemory;
    };
    const Route* Find(HttpRequest& request) const; // sets the request's captures
    static bool Match(const Route& route, const std::string& path, std::vector<std::string>& captures);

    std::vector<Route> routes;
};

} // namespace Kyr::WbmHost
