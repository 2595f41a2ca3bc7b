#include "session/SessionRoutes.h"

#include <algorithm>

#include "app/HostLoggers.h"
#include "audit/AccessRecords.h"
#include "audit/LogText.h"
#include "Kyr/PlatformServices/AuditEvents.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"
#include "secondfactor/SecondFactorBodies.h"
#include "session/LoginCompletion.h"

namespace Kyr::WbmHost {

namespace {

using Kyr::PlatformServices::LoginOutcome;
namespace Events = Kyr::PlatformServices::AuditEvents;

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
        context.services.RecordAudit(Audit::LoginRecord(false, credentials->userName, credentials->password,
                                                        "waiting after failed logins", request.remoteAddress));
        return JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
    }

    const auto check = context.services.CheckLogin(credentials->userName, credentials->password);
    if (check.outcome == LoginOutcome::Success) {
        if (context.services.GetSecondFactors().IsEnrolled(credentials->userName)) {
            // No session yet: the code completes the login. The name's failures stay until then, so
            // that passing the password again does not reset the waits of wrong codes.
            context.throttle.EndAttempt(credentials->userName);
            const Kyr::String challenge = context.loginChallenges.Create(
                LoginChallenge{credentials->userName, request.remoteAddress, check.passwordChangeRequired});
            SessionLog::LogInfo("User {0} from {1} gave the right password; a second factor follows", shownName,
                                request.remoteAddress);
            return JsonAnswer(response, 200,
                              ChallengeBody(challenge, std::chrono::seconds(LoginChallenges::Lifetime).count()));
        }
        context.throttle.RecordSuccess(credentials->userName);
        return CompleteLogin(context, request, response, credentials->userName, check.passwordChangeRequired,
                             credentials->password);
    }

    const auto wait = context.throttle.RecordFailure(credentials->userName, request.remoteAddress, policy, isAdministrator);
    if (wait.count() > 0) response.SetHeader("Retry-After", std::to_string(wait.count()));
    const Kyr::String reason = check.outcome == LoginOutcome::Locked ? "locked (password expired)" : "wrong credentials";
    SessionLog::Log(5, "Login of {0} from {1} failed: {2}", shownName, request.remoteAddress, reason);
    context.services.RecordAudit(Audit::LoginRecord(false, credentials->userName, credentials->password, reason, request.remoteAddress));
    JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
}

void Logout(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    Caller caller = context.ResolveCaller(request);
    if (caller.session) {
        if (!CsrfTokenValid(request, *caller.session)) return JsonAnswer(response, 403, ErrorBody(ErrorText::WrongCsrfToken));
        context.sessions.End(caller.session->id);
        SessionLog::LogInfo("User {0} logged out", OneLine(caller.session->userName, 64));
        Kyr::PlatformServices::AuditRecord record;
        record.eventId = Events::LoggedOut;
        record.user = record.target = caller.session->userName;
        record.source = request.remoteAddress;
        context.services.RecordAudit(record);
    }
    response.SetHeader("Set-Cookie", HostContext::ClearedSessionCookieHeader(request.secure));
    JsonAnswer(response, 200, NoErrorBody());
}

void Session(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    Caller caller = context.ResolveCaller(request);
    const bool authenticationRequired = context.services.IsAuthenticationRequired();
    if (!caller.session) return JsonAnswer(response, 200, SessionBody(nullptr, nullptr, false, authenticationRequired));
    JsonAnswer(response, 200, SessionBody(&caller.session->userName, &caller.session->csrfToken, caller.passwordChangeRequired,
                                          authenticationRequired, context.services.IsDirectoryUser(caller.session->userName),
                                          caller.secondFactorEnrolmentRequired));
}

// Who may see and end which sessions: administrators all, everybody else the own ones.
std::optional<Caller> SessionsCaller(HostContext& context, const HttpRequest& request, HttpResponse& response, bool& administrator) {
    Caller caller = context.ResolveCaller(request);
    if (!caller.session) {
        JsonAnswer(response, 401, ErrorBody(ErrorText::LoginRequired));
        return std::nullopt;
    }
    if (caller.passwordChangeRequired) {
        JsonAnswer(response, 403, PasswordChangeRequiredBody());
        return std::nullopt;
    }
    if (caller.secondFactorEnrolmentRequired) {
        JsonAnswer(response, 403, SecondFactorEnrolmentRequiredBody());
        return std::nullopt;
    }
    administrator = context.services.IsAdministrator(caller.session->userName);
    return caller;
}

void ListSessions(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    bool administrator = false;
    auto caller = SessionsCaller(context, request, response, administrator);
    if (!caller) return;
    auto sessions = context.sessions.List(caller->session->id);
    if (!administrator)
        sessions.erase(std::remove_if(sessions.begin(), sessions.end(),
                                      [&](const SessionView& view) { return view.userName != caller->session->userName; }),
                       sessions.end());
    JsonAnswer(response, 200, SessionsBody(sessions));
}

void EndSession(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    bool administrator = false;
    auto caller = SessionsCaller(context, request, response, administrator);
    if (!caller) return;
    if (!CsrfTokenValid(request, *caller->session)) return JsonAnswer(response, 403, ErrorBody(ErrorText::WrongCsrfToken));
    const Kyr::String& handle = request.matches[1];
    const auto owner = context.sessions.UserOfHandle(handle);
    // Somebody else's session is "not found" for a user who may not see it.
    if (!owner || (!administrator && *owner != caller->session->userName))
        return JsonAnswer(response, 404, ErrorBody(ErrorText::NoSuchSession));
    context.sessions.EndByHandle(handle);
    const bool own = *owner == caller->session->userName;
    context.services.RecordAudit(Audit::SessionEndedRecord(*owner, own ? Events::EndedByUser : Events::EndedByAdministrator,
                                                           caller->session->userName, request.remoteAddress));
    SessionLog::LogInfo("A session of {0} was ended by {1}", OneLine(*owner, 64), OneLine(caller->session->userName, 64));
    JsonAnswer(response, 200, NoErrorBody());
}

} // namespace

void AddSessionRoutes(Router& router, HostContext& context) {
    router.Add("POST", "/api/login", Bound(context, Login));
    router.Add("POST", "/api/logout", Bound(context, Logout));
    router.Add("GET", "/api/session", Bound(context, Session));
    router.Add("GET", "/api/sessions", Bound(context, ListSessions));
    router.Add("POST", "/api/sessions/{}/end", Bound(context, EndSession));
}

} // namespace Kyr::WbmHost
