#include "ApiRoutes.h"

#include "GuardedRoute.h"
#include "HostLoggers.h"
#include "JsonBodies.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"
#include "Kyr/System/Commons/DateTime.h"
#include "LogText.h"
#include "RandomToken.h"

namespace Kyr::WbmHost {

namespace {

namespace Messages = Kyr::Services::Commons::Wbm::Messages;
using Kyr::PlatformServices::LoginOutcome;

void Answer(httplib::Response& response, int status, const Kyr::String& body) {
    response.status = status;
    response.set_header("Cache-Control", "no-store");
    response.set_content(body, JsonContentType);
}

Kyr::String RawQuery(const httplib::Request& request) {
    auto mark = request.target.find('?');
    return mark == Kyr::String::npos ? Kyr::String() : request.target.substr(mark + 1);
}

bool CsrfTokenValid(const httplib::Request& request, const SessionInfo& session) {
    return SecretsEqual(request.get_header_value("X-CSRF-Token"), session.csrfToken);
}

// The functions a session that must change its password may still call.
bool AllowedDuringPasswordChange(const Kyr::String& provider, const Kyr::String& function) {
    return provider == "UserManagementInfoDp" && (function == "GetPasswordInfo" || function == "ChangeCurrentUserPassword");
}

void Login(HostContext& context, const httplib::Request& request, httplib::Response& response) {
    if (request.body.size() > context.limits.bodyWithoutSession)
        return Answer(response, 413, ErrorBody("Request body too large"));
    // Only a JSON login: another site's page cannot send that type without the browser asking the
    // host first, so it cannot log a visitor into an account of its choosing.
    const bool json = request.get_header_value("Content-Type").rfind("application/json", 0) == 0;
    auto credentials = json ? ParseLoginBody(request.body) : std::nullopt;
    if (!credentials)
        return Answer(response, 400, ErrorBody("Invalid login request: expected {\"username\": ..., \"password\": ...}"));
    const Kyr::String shownName = OneLine(credentials->userName, 64);

    const auto policy = context.services.GetSessionPolicy();
    const bool isAdministrator = context.services.IsAdministrator(credentials->userName);
    if (auto wait = context.throttle.BeginAttempt(credentials->userName, policy, isAdministrator)) {
        // During a wait (or while another attempt for the name is under way) the password is not even looked at.
        response.set_header("Retry-After", std::to_string(wait->count()));
        SessionLog::Log(5, "Login of {0} from {1} refused: waiting {2} s after failed attempts", shownName,
                        request.remote_addr, wait->count());
        return Answer(response, 401, ErrorBody(LoginFailedText));
    }

    const auto check = context.services.CheckLogin(credentials->userName, credentials->password);
    if (check.outcome == LoginOutcome::Success) {
        context.throttle.RecordSuccess(credentials->userName);
        if (auto previous = HostContext::SessionCookie(request)) context.sessions.End(*previous);
        context.sessions.SetMaxSessionTime(std::chrono::minutes(policy.maxSessionTimeMinutes));
        const SessionInfo session = context.sessions.Create(credentials->userName, policy.maxConcurrentSessionsCount);
        response.set_header("Set-Cookie", HostContext::SessionCookieHeader(session.id));
        SessionLog::LogInfo("User {0} logged in from {1}", shownName, request.remote_addr);
        return Answer(response, 200, LoginBody(credentials->userName, session.csrfToken, check.passwordChangeRequired));
    }

    const auto wait = context.throttle.RecordFailure(credentials->userName, policy, isAdministrator);
    if (wait.count() > 0) response.set_header("Retry-After", std::to_string(wait.count()));
    const Kyr::String reason = check.outcome == LoginOutcome::Locked ? "locked (password expired)" : "wrong credentials";
    SessionLog::Log(5, "Login of {0} from {1} failed: {2}", shownName, request.remote_addr, reason);
    context.services.AppendSecurityLog(Kyr::System::Commons::DateTime::GetUtcNow().ToIso8601() +
                                       " Security.WbmHost.LoginFailed sender=wbm-host user=\"" + shownName +
                                       "\" address=\"" + OneLine(request.remote_addr, 64) + "\" reason=\"" + reason + "\"");
    Answer(response, 401, ErrorBody(LoginFailedText));
}

void Logout(HostContext& context, const httplib::Request& request, httplib::Response& response) {
    Caller caller = context.ResolveCaller(request);
    if (caller.session) {
        if (!CsrfTokenValid(request, *caller.session))
            return Answer(response, 403, ErrorBody("Missing or wrong CSRF token"));
        context.sessions.End(caller.session->id);
        SessionLog::LogInfo("User {0} logged out", OneLine(caller.session->userName, 64));
    }
    response.set_header("Set-Cookie", HostContext::ClearedSessionCookieHeader());
    Answer(response, 200, NoErrorBody());
}

void Session(HostContext& context, const httplib::Request& request, httplib::Response& response) {
    Caller caller = context.ResolveCaller(request);
    const bool authenticationRequired = context.services.IsAuthenticationRequired();
    if (!caller.session) return Answer(response, 200, SessionBody(nullptr, nullptr, false, authenticationRequired));
    Answer(response, 200, SessionBody(&caller.session->userName, &caller.session->csrfToken,
                                      caller.passwordChangeRequired, authenticationRequired));
}

void LoginBanner(HostContext& context, const httplib::Request&, httplib::Response& response) {
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
    Answer(response, 200, LinesBody(lines));
}

// Functions that only read: their names start with Get, Is or List. Every other one changes state.
bool IsReadOnlyFunction(const Kyr::String& function) {
    for (const char* prefix : {"Get", "Is", "List"})
        if (function.rfind(prefix, 0) == 0) return true;
    return false;
}

void ModuleFunction(HostContext& context, const httplib::Request& request, httplib::Response& response) {
    const Kyr::String provider = request.matches[1];
    const Kyr::String function = request.matches[2];

    Caller caller = context.ResolveCaller(request);
    if (!caller.session && request.body.size() > context.limits.bodyWithoutSession)
        return Answer(response, 413, ErrorBody("Request body too large"));

    auto handler = context.registry.FindDataProvider(provider);
    if (!handler || !handler->HasRequestFunction(function))
        return Answer(response, 404, ErrorBody("Unknown data provider or function"));
    if (request.method == "GET" && !IsReadOnlyFunction(function)) {
        // A change must come as a POST, so that it always carries the session's CSRF token.
        response.set_header("Allow", "POST");
        return Answer(response, 405, ErrorBody("This function changes the device: use POST"));
    }
    if (!handler->IsAvailable()) return Answer(response, 503, ErrorBody("Data provider not available"));
    if (!caller.session && context.services.IsAuthenticationRequired())
        return Answer(response, 401, ErrorBody("Login required"));
    if (caller.session && request.method == "POST" && !CsrfTokenValid(request, *caller.session))
        return Answer(response, 403, ErrorBody("Missing or wrong CSRF token"));
    if (caller.passwordChangeRequired && !AllowedDuringPasswordChange(provider, function))
        return Answer(response, 403, PasswordChangeRequiredBody());

    const Messages::SecurityToken token(caller.session ? caller.session->id : Kyr::String());
    if (!handler->HasPermissions(token)) {
        if (!caller.session) return Answer(response, 401, ErrorBody("Login required"));
        return Answer(response, 403, ErrorBody("No permission"));
    }

    if (JsonNestedTooDeeply(request.body, 32)) return Answer(response, 400, ErrorBody("Request data nested too deeply"));

    try {
        Messages::WbmRequest wbmRequest(function, token, Messages::RequestData(request.body),
                                        Messages::RequestParams(Messages::RequestQuery(RawQuery(request))));
        const auto answer = handler->HandleRequest(wbmRequest);
        Kyr::String mime = answer.GetHeader().ToMimeType();
        response.status = 200;
        response.set_header("Cache-Control", "no-store");
        response.set_content(answer.GetBody(), mime.empty() ? "application/octet-stream" : mime);
    } catch (const std::exception& error) {
        HttpServer::LogError("Request function {0}/{1} failed: {2}", provider, function, error.what());
        Answer(response, 500, ErrorBody(error.what()));
    } catch (...) {
        HttpServer::LogError("Request function {0}/{1} failed with an unknown exception", provider, function);
        Answer(response, 500, ErrorBody("Unknown exception"));
    }
}

httplib::Server::Handler Guarded(HostContext& context, Route route) {
    return Guarded(context, route, [](httplib::Response& response) { Answer(response, 500, ErrorBody("Internal error")); });
}

// A POST body must arrive within a time limit, so that a slow sender cannot hold a thread for long
// (the read timeout alone only bounds the pause between two pieces).
httplib::Server::HandlerWithContentReader WithBodyDeadline(HostContext& context, Route route) {
    return [&context, route](const httplib::Request& request, httplib::Response& response,
                             const httplib::ContentReader& contentReader) {
        httplib::Request complete = request;
        const auto deadline = SteadyClock::now() + context.limits.bodyTime;
        bool late = false;
        const bool received = contentReader([&](const char* data, std::size_t length) {
            late = SteadyClock::now() > deadline;
            if (!late) complete.body.append(data, length);
            return !late;
        });
        if (!received) {
            response.set_header("Connection", "close");
            return Answer(response, late ? 408 : 400, ErrorBody(late ? "Request body too slow" : "Incomplete request body"));
        }
        Guarded(context, route)(complete, response);
    };
}

} // namespace

void InstallApiRoutes(httplib::Server& server, HostContext& context) {
    server.Post("/api/login", WithBodyDeadline(context, Login));
    server.Post("/api/logout", WithBodyDeadline(context, Logout));
    server.Get("/api/session", Guarded(context, Session));
    server.Get("/api/login-banner", Guarded(context, LoginBanner));
    server.Get(R"(/api/([^/]+)/([^/]+))", Guarded(context, ModuleFunction));
    server.Post(R"(/api/([^/]+)/([^/]+))", WithBodyDeadline(context, ModuleFunction));
}

} // namespace Kyr::WbmHost
