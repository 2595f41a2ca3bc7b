#include "PageRoutes.h"

#include <algorithm>
#include <cctype>

#include "GuardedRoute.h"
#include "StaticFiles.h"

namespace Kyr::WbmHost {

namespace {

namespace Messages = Kyr::Services::Commons::Wbm::Messages;

void HtmlAnswer(httplib::Response& response, int status, const Kyr::String& title) {
    response.status = status;
    response.set_content("<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + title +
                             "</title></head><body><h1>" + title + "</h1><p><a href=\"/login.html\">Login</a></p></body></html>\n",
                         "text/html; charset=utf-8");
}

// 403 and 404 answer with the pages' own styled error page when the web root has one.
void ErrorAnswer(HostContext& context, httplib::Response& response, int status, const Kyr::String& title) {
    auto page = ReadStaticFile(context.options.webRoot, "/errors/" + std::to_string(status) + ".html");
    if (!page) return HtmlAnswer(response, status, title);
    response.status = status;
    response.set_content(std::move(page->content), page->contentType);
}

bool ValidPageName(const Kyr::String& name) {
    return !name.empty() && name.size() <= 128 &&
           std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) || c == '_' || c == '-'; });
}

void ServeFile(HostContext& context, const Kyr::String& urlPath, httplib::Response& response) {
    auto file = ReadStaticFile(context.options.webRoot, urlPath);
    if (!file) return ErrorAnswer(context, response, 404, "Not found");
    response.status = 200;
    response.set_content(std::move(file->content), file->contentType);
}

void Page(HostContext& context, const httplib::Request& request, httplib::Response& response) {
    const Kyr::String name = request.matches[1];
    auto handler = ValidPageName(name) ? context.registry.FindPage(name) : nullptr;
    if (!handler) return ErrorAnswer(context, response, 404, "Not found");
    if (!handler->IsAvailable()) return HtmlAnswer(response, 503, "Page not available");
    Caller caller = context.ResolveCaller(request);
    if (!caller.session && context.services.IsAuthenticationRequired())
        return response.set_redirect("/login.html?next=/pages/" + name);
    if (caller.passwordChangeRequired) return response.set_redirect("/password.html");
    if (!handler->HasPermissions(Messages::SecurityToken(caller.session ? caller.session->id : Kyr::String())))
        return ErrorAnswer(context, response, 403, "No permission for this page");
    response.set_header("Cache-Control", "no-store");
    ServeFile(context, "/pages/" + name + ".html", response);
}

void Static(HostContext& context, const httplib::Request& request, httplib::Response& response) {
    // The pages' HTML is reached only through /pages/{PageName}, with its permission check.
    if (request.path.rfind("/pages/", 0) == 0) return ErrorAnswer(context, response, 404, "Not found");
    ServeFile(context, request.path, response);
}

httplib::Server::Handler Guarded(HostContext& context, Route route) {
    return Guarded(context, route, [](httplib::Response& response) { HtmlAnswer(response, 500, "Internal error"); });
}

} // namespace

void InstallPageRoutes(httplib::Server& server, HostContext& context) {
    server.Get("/", [](const httplib::Request&, httplib::Response& response) { response.set_redirect("/login.html"); });
    server.Get(R"(/pages/([^/]+))", Guarded(context, Page));
    server.Get(R"(/.*)", Guarded(context, Static));
}

} // namespace Kyr::WbmHost
