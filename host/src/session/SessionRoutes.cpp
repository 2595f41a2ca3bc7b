#include "session/SessionRoutes.h"

#include "app/HostLoggers.h"
#include "audit/LogText.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"
#include "Kyr/System/Commons/DateTime.h"

namespace Kyr::WbmHost {

namespace {

using Kyr::PlatformServices::LoginOutcome;

// Only a JSON login: another site's page cannot send that type without the browser asking the host
// first, so it cannot log a visitor into an account of its choosing. The media type must be exactly
// application/json (parameters such as a charset may follow).
bool IsJsonBody(const HttpRequest& request) {
    std::string type = request.Header("Content-Type");
    type = type.substr(0, type.find(';'));
    while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) type.pop_back();
    return EqualsIgnoringCase(type, "application/json");
}

void Login(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto credentials = IsJsonBody(request) ? ParseLoginBody(request.body) : std::nullopt;
    if (!credentials) return JsonAnswer(response, 400, ErrorBody(ErrorText::InvalidLoginRequest));
    const Kyr::String shownName = OneLine(credentials->userName, 64);

    const auto policy = context.services.GetSessionPolicy();
    const bool isAdministrator = context.services.IsAdministrator(credentials->userName);
    if (auto wait = context.throttle.BeginAttempt(credentials->userName, request.remoteAddress, policy, isAdministrator)) {
        // During a wait (or while another attempt for the name is under way) the password is not even looked at.
        response.SetHeader("Retry-After", std::to_string(wait->count()));
        SessionLog::Log(5, "Login of {0} from {1} refused: waiting {2} s after failed attempts", shownName,
                        request.remoteAddress, wait->count());
        return JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
    }

    const auto check = context.services.CheckLogin(credentials->userName, credentials->password);
    if (check.outcome == LoginOutcome::Success) {
        context.throttle.RecordSuccess(credentials->userName);
        if (auto previous = HostContext::SessionCookie(request)) context.sessions.End(*previous);
        context.sessions.SetMaxSessionTime(std::chrono::minutes(policy.maxSessionTimeMinutes));
        const SessionInfo session = context.sessions.Create(credentials->userName, policy.maxConcurrentSessionsCount);
        response.SetHeader("Set-Cookie", HostContext::SessionCookieHeader(session.id, request.secure));
        SessionLog::LogInfo("User {0} logged in from {1}", shownName, request.remoteAddress);
        return JsonAnswer(response, 200, LoginBody(credentials->userName, session.csrfToken, check.passwordChangeRequired));
    }

    const auto wait = context.throttle.RecordFailure(credentials->userName, request.remoteAddress, policy, isAdministrator);
    if (wait.count() > 0) response.SetHeader("Retry-After", std::to_string(wait.count()));
    const Kyr::String reason = check.outcome == LoginOutcome::Locked ? "locked (password expired)" : "wrong credentials";
    SessionLog::Log(5, "Login of {0} from {1} failed: {2}", shownName, request.remoteAddress, reason);
    context.services.AppendSecurityLog(Kyr::System::Commons::DateTime::GetUtcNow().ToIso8601() +
                                       " Security.WbmHost.LoginFailed sender=wbm-host user=\"" + shownName +
                                       "\" address=\"" + OneLine(request.remoteAddress, 64) + "\" reason=\"" + reason + "\"");
    JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
}

void Logout(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    Caller caller = context.ResolveCaller(request);
    if (caller.session) {
        if (!CsrfTokenValid(request, *caller.session)) return JsonAnswer(response, 403, ErrorBody(ErrorText::WrongCsrfToken));
        context.sessions.End(caller.session->id);
        SessionLog::LogInfo("User {0} logged out", OneLine(caller.session->userName, 64));
    }
    response.SetHeader("Set-Cookie", HostContext::ClearedSessionCookieHeader(request.secure));
    JsonAnswer(response, 200, NoErrorBody());
}

void Session(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    Caller caller = context.ResolveCaller(request);
    const bool authenticationRequired = context.services.IsAuthenticationRequired();
    if (!caller.session) return JsonAnswer(response, 200, SessionBody(nullptr, nullptr, false, authenticationRequired));
    JsonAnswer(response, 200,
               SessionBody(&caller.session->userName, &caller.session->csrfToken, caller.passwordChangeRequired, authenticationRequired));
}

} // namespace

void AddSessionRoutes(Router& router, HostContext& context) {
    router.Add("POST", "/api/login", Bound(context, Login));
    router.Add("POST", "/api/logout", Bound(context, Logout));
    router.Add("GET", "/api/session", Bound(context, Session));
}

} // namespace Kyr::WbmHost
