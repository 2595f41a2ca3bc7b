#include "bridge/ModuleRoutes.h"

#include <optional>

#include "app/HostLoggers.h"
#include "audit/ModuleRequestAudit.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"

namespace Kyr::WbmHost {

namespace {

namespace Messages = Kyr::Services::Commons::Wbm::Messages;

// The functions a session that must change its password may still call.
bool AllowedDuringPasswordChange(const Kyr::String& provider, const Kyr::String& function) {
    return provider == "UserManagementInfoDp" && (function == "GetPasswordInfo" || function == "ChangeCurrentUserPassword");
}

// Functions that only read: their names start with Get, Is or List. Every other one changes state.
bool IsReadOnlyFunction(const Kyr::String& function) {
    for (const char* prefix : {"Get", "Is", "List"})
        if (function.rfind(prefix, 0) == 0) return true;
    return false;
}

void LoginBanner(HostContext& context, const HttpRequest&, HttpResponse& response) {
    // Shown before login, so it is read without a session and without a permission check.
    std::vector<Kyr::String> lines;
    auto handler = context.registry.FindDataProvider("SystemUseNotificationDp");
    if (handler && handler->IsAvailable()) {
        try {
            Messages::WbmRequest request("GetSystemUseNotification", Messages::SecurityToken(), Messages::RequestData(),
                                         Messages::RequestParams());
            if (auto parsed = ParseNotificationLines(handler->HandleRequest(request).GetBody())) lines = std::move(*parsed);
        } catch (const std::exception& error) {
            HttpServer::LogError("Reading the login text failed: {0}", error.what());
        }
    }
    JsonAnswer(response, 200, LinesBody(lines));
}

// Why the caller may not call `function` of `handler`, as the answer; nothing when it may.
std::optional<int> Refusal(HostContext& context, const HttpRequest& request, const Caller& caller,
                           Modules::WbmRequestHandlerBase& handler, const Kyr::String& provider, const Kyr::String& function,
                           HttpResponse& response) {
    auto refuse = [&](int status, std::string body) {
        JsonAnswer(response, status, std::move(body));
        return std::optional<int>(status);
    };
    if (request.method == "GET" && !IsReadOnlyFunction(function)) {
        // A change must come as a POST, so that it always carries the session's CSRF token.
        response.SetHeader("Allow", "POST");
        return refuse(405, ErrorBody(ErrorText::UsePost));
    }
    if (!handler.IsAvailable()) return refuse(503, ErrorBody(ErrorText::ProviderUnavailable));
    if (!caller.session && context.services.IsAuthenticationRequired()) return refuse(401, ErrorBody(ErrorText::LoginRequired));
    if (caller.session && request.method == "POST" && !CsrfTokenValid(request, *caller.session))
        return refuse(403, ErrorBody(ErrorText::WrongCsrfToken));
    if (caller.passwordChangeRequired && !AllowedDuringPasswordChange(provider, function))
        return refuse(403, PasswordChangeRequiredBody());
    // The password change comes first; then nothing of the module until the second factor is set up.
    if (caller.secondFactorEnrolmentRequired && !caller.passwordChangeRequired)
        return refuse(403, SecondFactorEnrolmentRequiredBody());
    if (!handler.HasPermissions(Messages::SecurityToken(caller.session ? caller.session->id : Kyr::String()))) {
        if (!caller.session) return refuse(401, ErrorBody(ErrorText::LoginRequired));
        return refuse(403, ErrorBody(ErrorText::NoPermission));
    }
    if (JsonNestedTooDeeply(request.body, 32)) return refuse(400, ErrorBody(ErrorText::NestedTooDeeply));
    return std::nullopt;
}

void AnswerModuleFunction(HostContext& context, const HttpRequest& request, const Caller& caller, HttpResponse& response) {
    const Kyr::String& provider = request.matches[1];
    const Kyr::String& function = request.matches[2];
    auto handler = context.registry.FindDataProvider(provider);
    if (!handler || !handler->HasRequestFunction(function)) return JsonAnswer(response, 404, ErrorBody(ErrorText::UnknownFunction));
    if (Refusal(context, request, caller, *handler, provider, function, response)) return;
    // With the audit trail failing closed, nothing changes that could not be recorded.
    if (!IsReadOnlyFunction(function) && context.services.AuditBlocksChanges())
        return JsonAnswer(response, 503, ErrorBody(ErrorText::AuditUnavailable));

    const Messages::SecurityToken token(caller.session ? caller.session->id : Kyr::String());
    try {
        Messages::WbmRequest wbmRequest(function, token, Messages::RequestData(request.body),
                                        Messages::RequestParams(Messages::RequestQuery(request.query)));
        std::unique_lock<std::mutex> upload(context.ldapUploads, std::defer_lock);
        if (function == "SetLdapConfiguration") upload.lock();
        const auto answer = handler->HandleRequest(wbmRequest);
        const Kyr::String mime = answer.GetHeader().ToMimeType();
        response.status = 200;
        response.SetHeader("Cache-Control", "no-store");
        response.SetContent(answer.GetBody(), mime.empty() ? "application/octet-stream" : mime);
    } catch (const std::exception& error) {
        HttpServer::LogError("Request function {0}/{1} failed: {2}", provider, function, error.what());
        JsonAnswer(response, 500, ErrorBody(error.what()));
    } catch (...) {
        HttpServer::LogError("Request function {0}/{1} failed with an unknown exception", provider, function);
        JsonAnswer(response, 500, ErrorBody(ErrorText::UnknownException));
    }
}

// Every call of a changing function is recorded with its outcome, refusals by the host included.
void ModuleFunction(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    const Caller caller = context.ResolveCaller(request);
    AnswerModuleFunction(context, request, caller, response);
    Audit::RequestOrigin origin;
    origin.source = request.remoteAddress;
    if (caller.session) origin = {caller.session->userName, request.remoteAddress, {caller.session->id, caller.session->csrfToken}};
    if (auto record = Audit::ModuleRequestRecord(request.matches[1], request.matches[2], request.body, response.status,
                                                 response.body, origin))
        context.services.RecordAudit(*record);
}

} // namespace

void AddModuleRoutes(Router& router, HostContext& context) {
    router.Add("GET", "/api/login-banner", Bound(context, LoginBanner));
    router.Add("GET", "/api/{}/{}", Bound(context, ModuleFunction));
    router.Add("POST", "/api/{}/{}", Bound(context, ModuleFunction));
}

} // namespace Kyr::WbmHost
