#pragma once
#include "app/HostContext.h"
#include "http/Router.h"
#include "net/RequestHandler.h"
#include "net/ServerLimits.h"

namespace Kyr::WbmHost {

// The host's answer to every request: the routes of the API and the pages, under one guard that turns
// a failure into a logged 500 in the route's own form (JSON under /api/, HTML elsewhere).
class HostRequestHandler final : public RequestHandler {
public:
    HostRequestHandler(HostContext& context, const ServerLimits& limits);
    std::size_t BodyLimit(const HttpRequest& head) const override;
    bool AnswersFromMemory(HttpRequest& request) const override { return router.AnswersFromMemory(request); }
    void Handle(HttpRequest& request, HttpResponse& response) override;

private:
    HostContext& context;
    const ServerLimits& limits;
    Router router;
};

// What a plain-HTTP listener beside the TLS one answers: a redirect to the same place over HTTPS.
class HttpsRedirectHandler final : public RequestHandler {
public:
    HttpsRedirectHandler(std::string fallbackHost, int httpsPort) : fallbackHost(std::move(fallbackHost)), httpsPort(httpsPort) {}
    std::size_t BodyLimit(const HttpRequest&) const override { return 0; }
    bool AnswersFromMemory(HttpRequest&) const override { return true; }
    void Handle(HttpRequest& request, HttpResponse& response) override;

private:
    const std::string fallbackHost;
    const int httpsPort;
};

} // namespace Kyr::WbmHost
