#include "app/HostRequestHandler.h"

#include <algorithm>
#include <cctype>

#include "app/HostLoggers.h"
#include "audit/AuditRoutes.h"
#include "audit/LogText.h"
#include "bridge/ModuleRoutes.h"
#include "ldap/DirectoryRoutes.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"
#include "secondfactor/SecondFactorRoutes.h"
#include "session/SessionRoutes.h"
#include "static/PageRoutes.h"

namespace Kyr::WbmHost {

HostRequestHandler::HostRequestHandler(HostContext& context, const ServerLimits& limits) : context(context), limits(limits) {
    AddSessionRoutes(router, context);
    AddSecondFactorRoutes(router, context);
    AddAuditRoutes(router, context);
    AddDirectoryRoutes(router, context);
    AddModuleRoutes(router, context);
    AddPageRoutes(router, context);
}

namespace {
// The module's functions that take a JSON document or a file; every other one takes form text.
bool TakesDocument(const std::string& path) {
    for (const char* function : {"/SetLdapConfiguration", "/ModifyUserConfig", "/SetPasswordRoleRulesets",
                                 "/SetPasswordBlockList", "/SetSessionPolicyConfig"}) {
        const std::string suffix(function);
        if (path.size() > suffix.size() && path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0) return true;
    }
    return false;
}
} // namespace

std::size_t HostRequestHandler::BodyLimit(const HttpRequest& head) const {
    if (head.path == "/api/login" || head.path == "/api/login/second-factor" || !context.HasLiveSession(head))
        return limits.bodyWithoutSession;
    if (head.path.rfind("/api/", 0) == 0 && !TakesDocument(head.path)) return limits.formBody;
    return limits.bodyWithSession;
}

void HostRequestHandler::Handle(HttpRequest& request, HttpResponse& response) {
    try {
        router.Dispatch(request, response);
    } catch (const std::exception& error) {
        HttpServer::LogError("{0} {1} failed: {2}", request.method, OneLine(request.path, 256), error.what());
        response = HttpResponse{};
        response.status = 500;
        if (request.path.rfind("/api/", 0) == 0)
            JsonAnswer(response, 500, ErrorBody(ErrorText::InternalError));
        else
            response.SetContent(HtmlErrorPage(ErrorText::InternalError), HtmlContentType);
    }
}

namespace {
// A Host header that names a host (letters, digits, '.', '-', or a bracketed IPv6 address) and
// nothing else, so that the redirect cannot be pointed at another site's path or inject headers.
std::string RequestedHost(const HttpRequest& request) {
    std::string host = request.Header("Host");
    if (!host.empty() && host.front() == '[') {
        const auto close = host.find(']');
        if (close == std::string::npos) return {};
        const std::string inside = host.substr(1, close - 1);
        if (inside.empty() || !std::all_of(inside.begin(), inside.end(), [](unsigned char c) { return std::isxdigit(c) || c == ':' || c == '.'; }))
            return {};
        return host.substr(0, close + 1);
    }
    host = host.substr(0, host.find(':'));
    if (host.empty() || host.size() > 253 ||
        !std::all_of(host.begin(), host.end(), [](unsigned char c) { return std::isalnum(c) || c == '.' || c == '-'; }))
        return {};
    return host;
}
} // namespace

void HttpsRedirectHandler::Handle(HttpRequest& request, HttpResponse& response) {
    std::string host = RequestedHost(request);
    if (host.empty()) host = fallbackHost.find(':') != std::string::npos ? "[" + fallbackHost + "]" : fallbackHost;
    const std::string port = httpsPort == 443 ? "" : ":" + std::to_string(httpsPort);
    response.Redirect("https://" + host + port + request.target, 301);
    response.SetContent("", "text/plain; charset=utf-8");
}

} // namespace Kyr::WbmHost
