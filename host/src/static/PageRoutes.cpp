#include "static/PageRoutes.h"

#include <algorithm>
#include <cctype>

#include "http/ErrorTexts.h"
#include "http/RouteAnswers.h"
#include "static/StaticFiles.h"

namespace Kyr::WbmHost {

namespace {

namespace Messages = Kyr::Services::Commons::Wbm::Messages;

void HtmlAnswer(HttpResponse& response, int status, const Kyr::String& title) {
    response.status = status;
    response.SetContent(HtmlErrorPage(title), HtmlContentType);
}

// 403 and 404 answer with the pages' own styled error page when the web root has one.
void ErrorAnswer(HostContext& context, HttpResponse& response, int status, const Kyr::String& title) {
    auto page = ReadStaticFile(context.options.webRoot, "/errors/" + std::to_string(status) + ".html");
    if (!page) return HtmlAnswer(response, status, title);
    response.status = status;
    response.SetContent(std::move(page->content), page->contentType);
}

bool ValidPageName(const Kyr::String& name) {
    return !name.empty() && name.size() <= 128 &&
           std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) || c == '_' || c == '-'; });
}

void ServeFile(HostContext& context, const Kyr::String& urlPath, HttpResponse& response) {
    auto file = ReadStaticFile(context.options.webRoot, urlPath);
    if (!file) return ErrorAnswer(context, response, 404, StatusText(404));
    response.status = 200;
    response.SetContent(std::move(file->content), file->contentType);
}

void Root(HostContext&, const HttpRequest&, HttpResponse& response) { response.Redirect("/login.html"); }

void Page(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    const Kyr::String& name = request.matches[1];
    auto handler = ValidPageName(name) ? context.registry.FindPage(name) : nullptr;
    if (!handler) return ErrorAnswer(context, response, 404, StatusText(404));
    if (!handler->IsAvailable()) return HtmlAnswer(response, 503, ErrorText::PageUnavailable);
    Caller caller = context.ResolveCaller(request);
    if (!caller.session && context.services.IsAuthenticationRequired()) return response.Redirect("/login.html?next=/pages/" + name);
    // Both the password change and the second factor's enrolment are on the own-password page.
    if (caller.passwordChangeRequired || caller.secondFactorEnrolmentRequired) return response.Redirect("/password.html");
    if (!handler->HasPermissions(Messages::SecurityToken(caller.session ? caller.session->id : Kyr::String())))
        return ErrorAnswer(context, response, 403, ErrorText::NoPagePermission);
    response.SetHeader("Cache-Control", "no-store");
    ServeFile(context, "/pages/" + name + ".html", response);
}

void Static(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    // The pages' HTML is reached only through /pages/{PageName}, with its permission check.
    if (request.path.rfind("/pages/", 0) == 0) return ErrorAnswer(context, response, 404, StatusText(404));
    ServeFile(context, request.path, response);
}

} // namespace

void AddPageRoutes(Router& router, HostContext& context) {
    router.Add("GET", "/", Bound(context, Root));
    router.Add("GET", "/pages/{}", Bound(context, Page));
    router.Add("GET", "/*", Bound(context, Static));
}

} // namespace Kyr::WbmHost
