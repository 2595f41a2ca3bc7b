#include "static/PageRoutes.h"

#include <algorithm>
#include <cctype>

#include "app/HostLoggers.h"
#include "http/ErrorTexts.h"
#include "http/RouteAnswers.h"
#include "static/Gzip.h"
#include "static/StaticFiles.h"

namespace Kyr::WbmHost {

namespace {

constexpr std::size_t MaxInflatedFileBytes = 16u << 20; // as for the files read as they are

namespace Messages = Kyr::Services::Commons::Wbm::Messages;

void HtmlAnswer(HttpResponse& response, int status, const Kyr::String& title) {
    response.status = status;
    response.SetContent(HtmlErrorPage(title), HtmlContentType);
}

// A file as the client takes it: compressed when it accepts gzip, otherwise inflated. False when a
// compressed file cannot be inflated.
bool SetFileContent(const HttpRequest& request, StaticFile file, HttpResponse& response) {
    if (file.gzipped) {
        response.SetHeader("Vary", "Accept-Encoding");
        if (AcceptsGzip(request.Header("Accept-Encoding"))) {
            response.SetHeader("Content-Encoding", "gzip");
        } else {
            auto inflated = Gunzip(file.content, MaxInflatedFileBytes);
            if (!inflated) return false;
            file.content = std::move(*inflated);
        }
    }
    response.SetContent(std::move(file.content), file.contentType);
    return true;
}

// 403 and 404 answer with the pages' own styled error page when the web root has one.
void ErrorAnswer(HostContext& context, const HttpRequest& request, HttpResponse& response, int status, const Kyr::String& title) {
    auto page = ReadStaticFile(context.options.webRoot, "/errors/" + std::to_string(status) + ".html");
    response.status = status;
    if (!page || !SetFileContent(request, std::move(*page), response)) return HtmlAnswer(response, status, title);
}

bool ValidPageName(const Kyr::String& name) {
    return !name.empty() && name.size() <= 128 &&
           std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) || c == '_' || c == '-'; });
}

void ServeFile(HostContext& context, const HttpRequest& request, const Kyr::String& urlPath, HttpResponse& response) {
    auto file = ReadStaticFile(context.options.webRoot, urlPath);
    if (!file) return ErrorAnswer(context, request, response, 404, StatusText(404));
    response.status = 200;
    if (!SetFileContent(request, std::move(*file), response)) {
        HttpServer::LogError("The installed page {0}.gz cannot be inflated", urlPath);
        HtmlAnswer(response, 500, ErrorText::InternalError);
    }
}

void Root(HostContext&, const HttpRequest&, HttpResponse& response) { response.Redirect("/login.html"); }

void Page(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    const Kyr::String& name = request.matches[1];
    auto handler = ValidPageName(name) ? context.registry.FindPage(name) : nullptr;
    if (!handler) return ErrorAnswer(context, request, response, 404, StatusText(404));
    if (!handler->IsAvailable()) return HtmlAnswer(response, 503, ErrorText::PageUnavailable);
    Caller caller = context.ResolveCaller(request);
    if (!caller.session && context.services.IsAuthenticationRequired()) return response.Redirect("/login.html?next=/pages/" + name);
    // Both the password change and the second factor's enrolment are on the own-password page.
    if (caller.passwordChangeRequired || caller.secondFactorEnrolmentRequired) return response.Redirect("/password.html");
    if (!handler->HasPermissions(Messages::SecurityToken(caller.session ? caller.session->id : Kyr::String())))
        return ErrorAnswer(context, request, response, 403, ErrorText::NoPagePermission);
    response.SetHeader("Cache-Control", "no-store");
    ServeFile(context, request, "/pages/" + name + ".html", response);
}

void Static(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    // The pages' HTML is reached only through /pages/{PageName}, with its permission check.
    if (request.path.rfind("/pages/", 0) == 0) return ErrorAnswer(context, request, response, 404, StatusText(404));
    ServeFile(context, request, request.path, response);
}

} // namespace

void AddPageRoutes(Router& router, HostContext& context) {
    router.Add("GET", "/", Bound(context, Root));
    router.Add("GET", "/pages/{}", Bound(context, Page));
    router.Add("GET", "/*", Bound(context, Static));
}

} // namespace Kyr::WbmHost
