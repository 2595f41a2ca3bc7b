#include "secondfactor/SecondFactorRoutes.h"

#include "app/HostLoggers.h"
#include "audit/AccessRecords.h"
#include "audit/LogText.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"
#include "Kyr/PlatformServices/AuditEvents.h"
#include "secondfactor/OtpauthUri.h"
#include "secondfactor/QrCodeSvg.h"
#include "secondfactor/SecondFactorBodies.h"
#include "secondfactor/SecondFactorRecords.h"
#include "session/LoginCompletion.h"

namespace Kyr::WbmHost {

namespace {

namespace Ps = Kyr::PlatformServices;
namespace Events = Ps::AuditEvents;

void RetryAfter(HttpResponse& response, std::chrono::seconds wait) {
    if (wait.count() > 0) response.SetHeader("Retry-After", std::to_string(wait.count()));
}

// The caller of a route that needs a session (and its CSRF token for a POST); nothing when the
// answer was given already. `enrolmentRoute`: allowed while the second factor must be set up.
std::optional<Caller> SessionCaller(HostContext& context, const HttpRequest& request, HttpResponse& response,
                                    bool enrolmentRoute) {
    Caller caller = context.ResolveCaller(request);
    if (!caller.session) {
        JsonAnswer(response, 401, ErrorBody(ErrorText::LoginRequired));
        return std::nullopt;
    }
    if (request.method == "POST" && !CsrfTokenValid(request, *caller.session)) {
        JsonAnswer(response, 403, ErrorBody(ErrorText::WrongCsrfToken));
        return std::nullopt;
    }
    // The password change comes first, the enrolment after it.
    if (caller.passwordChangeRequired && request.method == "POST") {
        JsonAnswer(response, 403, PasswordChangeRequiredBody());
        return std::nullopt;
    }
    if (caller.secondFactorEnrolmentRequired && !enrolmentRoute) {
        JsonAnswer(response, 403, SecondFactorEnrolmentRequiredBody());
        return std::nullopt;
    }
    return caller;
}

std::optional<Caller> AdministratorCaller(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = SessionCaller(context, request, response, false);
    if (!caller) return std::nullopt;
    if (caller->passwordChangeRequired) {
        JsonAnswer(response, 403, PasswordChangeRequiredBody());
        return std::nullopt;
    }
    if (!context.services.IsAdministrator(caller->session->userName)) {
        JsonAnswer(response, 403, ErrorBody(ErrorText::AdministratorsOnly));
        return std::nullopt;
    }
    return caller;
}

// With the audit trail failing closed, nothing changes that could not be recorded.
bool RefusedWhileAuditFails(HostContext& context, HttpResponse& response) {
    if (!context.services.AuditBlocksChanges()) return false;
    JsonAnswer(response, 503, ErrorBody(ErrorText::AuditUnavailable));
    return true;
}

void LoginWithSecondFactor(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto body = IsJsonBody(request) ? ParseStringMembers(request.body, {"challenge", "code", "recoveryCode"}) : std::nullopt;
    if (!body || !body->count("challenge") || body->count("code") == body->count("recoveryCode"))
        return JsonAnswer(response, 400, ErrorBody(ErrorText::InvalidSecondFactorLogin));
    const Kyr::String& id = body->at("challenge");
    const bool recovery = body->count("recoveryCode") > 0;
    const auto challenge = context.loginChallenges.Find(id, request.remoteAddress);
    if (!challenge) {
        // 256 random bits cannot be guessed: no wait, but a record.
        context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorCodeFailed, false, "", "",
                                                               request.remoteAddress, "unknown or expired challenge"));
        return JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
    }
    const Kyr::String& user = challenge->userName;
    const auto policy = context.services.GetSessionPolicy();
    const bool isAdministrator = context.services.IsAdministrator(user);
    if (auto wait = context.throttle.BeginAttempt(user, request.remoteAddress, policy, isAdministrator)) {
        RetryAfter(response, *wait);
        context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorCodeFailed, false, "", user,
                                                               request.remoteAddress, "waiting after failed logins"));
        return JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
    }
    auto& factors = context.services.GetSecondFactors();
    const bool accepted = recovery ? factors.UseRecoveryCode(user, body->at("recoveryCode")) : factors.AcceptCode(user, body->at("code"));
    if (!accepted) {
        context.loginChallenges.RecordWrongCode(id);
        RetryAfter(response, context.throttle.RecordFailure(user, request.remoteAddress, policy, isAdministrator));
        SessionLog::Log(5, "Login of {0} from {1} failed: wrong {2}", OneLine(user, 64), request.remoteAddress,
                        recovery ? "recovery code" : "code");
        context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorCodeFailed, false, "", user, request.remoteAddress,
                                                               recovery ? "wrong recovery code" : "wrong code"));
        return JsonAnswer(response, 401, ErrorBody(ErrorText::LoginFailed));
    }
    context.throttle.RecordSuccess(user);
    context.loginChallenges.End(id);
    if (recovery)
        context.services.RecordAudit(Audit::SecondFactorRecord(Events::RecoveryCodeUsed, true, user, user, request.remoteAddress,
                                                               std::to_string(factors.RecoveryCodesLeft(user)) + " left"));
    CompleteLogin(context, request, response, user, challenge->passwordChangeRequired, "");
}

void OwnSecondFactor(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = SessionCaller(context, request, response, true);
    if (!caller) return;
    const Kyr::String& user = caller->session->userName;
    auto& factors = context.services.GetSecondFactors();
    const auto policy = factors.GetPolicy();
    JsonAnswer(response, 200,
               OwnSecondFactorBody(factors.IsEnrolled(user), Ps::SecondFactorRequired(policy, context.services.IsAdministrator(user)),
                                   Ps::ToText(policy), factors.RecoveryCodesLeft(user)));
}

void StartEnrolment(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = SessionCaller(context, request, response, true);
    if (!caller) return;
    const Kyr::String& user = caller->session->userName;
    auto& factors = context.services.GetSecondFactors();
    if (factors.IsEnrolled(user)) return JsonAnswer(response, 409, ErrorBody(ErrorText::SecondFactorAlreadySetUp));
    const Kyr::String secret = factors.NewSecret();
    context.pendingEnrolments.Put(caller->session->id, secret);
    const Kyr::String uri = OtpauthUri(DeviceName(), user, secret);
    JsonAnswer(response, 200, EnrolmentBody(secret, uri, QrCodeSvg(uri)));
}

void ConfirmEnrolment(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = SessionCaller(context, request, response, true);
    if (!caller) return;
    auto body = ParseStringMembers(request.body, {"code"});
    if (!body || !body->count("code")) return JsonAnswer(response, 400, ErrorBody(ErrorText::InvalidCodeRequest));
    if (RefusedWhileAuditFails(context, response)) return;
    const auto secret = context.pendingEnrolments.Find(caller->session->id);
    if (!secret) return JsonAnswer(response, 409, ErrorBody(ErrorText::NoPendingEnrolment));
    const Kyr::String& user = caller->session->userName;
    const auto result = context.services.GetSecondFactors().Enrol(user, context.services.IsDirectoryUser(user), *secret, body->at("code"));
    switch (result.outcome) {
    case Ps::EnrolmentOutcome::AlreadyEnrolled:
        context.pendingEnrolments.Erase(caller->session->id);
        return JsonAnswer(response, 409, ErrorBody(ErrorText::SecondFactorAlreadySetUp));
    case Ps::EnrolmentOutcome::WrongCode:
        context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorCodeFailed, false, user, user,
                                                               request.remoteAddress, "wrong code at enrolment"));
        return JsonAnswer(response, 400, ErrorBody(ErrorText::CodeNotValid));
    case Ps::EnrolmentOutcome::Enrolled:
        break;
    }
    context.pendingEnrolments.Erase(caller->session->id);
    SessionLog::LogInfo("User {0} set up a second factor", OneLine(user, 64));
    context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorEnrolled, true, user, user, request.remoteAddress));
    JsonAnswer(response, 200, RecoveryCodesBody(result.recoveryCodes));
}

void RemoveOwn(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = SessionCaller(context, request, response, false);
    if (!caller) return;
    auto body = ParseStringMembers(request.body, {"password", "code"});
    if (!body || !body->count("password") || !body->count("code"))
        return JsonAnswer(response, 400, ErrorBody(ErrorText::InvalidRemovalRequest));
    if (RefusedWhileAuditFails(context, response)) return;
    const Kyr::String& user = caller->session->userName;
    auto& factors = context.services.GetSecondFactors();
    const bool isAdministrator = context.services.IsAdministrator(user);
    if (Ps::SecondFactorRequired(factors.GetPolicy(), isAdministrator))
        return JsonAnswer(response, 409, ErrorBody(ErrorText::PolicyRequiresSecondFactor));
    if (!factors.IsEnrolled(user)) return JsonAnswer(response, 404, ErrorBody(ErrorText::NoSecondFactor));

    // Password and code count like a login: wrong ones make the name and the address wait.
    const auto policy = context.services.GetSessionPolicy();
    if (auto wait = context.throttle.BeginAttempt(user, request.remoteAddress, policy, isAdministrator)) {
        RetryAfter(response, *wait);
        return JsonAnswer(response, 403, ErrorBody(ErrorText::WrongPasswordOrCode));
    }
    const bool passwordRight = context.services.CheckLogin(user, body->at("password")).outcome == Ps::LoginOutcome::Success;
    if (!passwordRight || !factors.AcceptCode(user, body->at("code"))) {
        RetryAfter(response, context.throttle.RecordFailure(user, request.remoteAddress, policy, isAdministrator));
        context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorRemoved, false, user, user, request.remoteAddress,
                                                               "wrong password or code"));
        return JsonAnswer(response, 403, ErrorBody(ErrorText::WrongPasswordOrCode));
    }
    context.throttle.RecordSuccess(user);
    factors.Remove(user);
    SessionLog::LogInfo("User {0} removed the own second factor", OneLine(user, 64));
    context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorRemoved, true, user, user, request.remoteAddress));
    JsonAnswer(response, 200, NoErrorBody());
}

void GetPolicy(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    if (!AdministratorCaller(context, request, response)) return;
    JsonAnswer(response, 200, PolicyBody(Ps::ToText(context.services.GetSecondFactors().GetPolicy())));
}

void SetPolicy(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = AdministratorCaller(context, request, response);
    if (!caller) return;
    auto body = ParseStringMembers(request.body, {"policy"});
    const auto policy = body && body->count("policy") ? Ps::ParseSecondFactorPolicy(body->at("policy")) : std::nullopt;
    if (!policy) return JsonAnswer(response, 400, ErrorBody(ErrorText::InvalidSecondFactorPolicy));
    if (RefusedWhileAuditFails(context, response)) return;
    context.services.GetSecondFactors().SetPolicy(*policy);
    context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorPolicyChanged, true, caller->session->userName,
                                                           "second factor policy", request.remoteAddress,
                                                           std::string("policy=") + Ps::ToText(*policy)));
    JsonAnswer(response, 200, NoErrorBody());
}

void EnrolledUsers(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    if (!AdministratorCaller(context, request, response)) return;
    JsonAnswer(response, 200, EnrolledUsersBody(context.services.GetSecondFactors().EnrolledUsers()));
}

void ResetUser(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto caller = AdministratorCaller(context, request, response);
    if (!caller) return;
    if (RefusedWhileAuditFails(context, response)) return;
    const Kyr::String& user = request.matches[1];
    if (!context.services.GetSecondFactors().Remove(user)) return JsonAnswer(response, 404, ErrorBody(ErrorText::NoSecondFactor));
    const Kyr::String& administrator = caller->session->userName;
    SessionLog::LogInfo("The second factor of {0} was reset by {1}", OneLine(user, 64), OneLine(administrator, 64));
    context.services.RecordAudit(Audit::SecondFactorRecord(Events::SecondFactorReset, true, administrator, user, request.remoteAddress));
    // The user logs in again, and enrols again when the policy says so.
    context.sessions.EndSessionsOfUser(user, Events::EndedSecondFactorReset);
    JsonAnswer(response, 200, NoErrorBody());
}

} // namespace

void AddSecondFactorRoutes(Router& router, HostContext& context) {
    router.Add("POST", "/api/login/second-factor", Bound(context, LoginWithSecondFactor));
    router.Add("GET", "/api/second-factor", Bound(context, OwnSecondFactor));
    router.Add("POST", "/api/second-factor/enrolment", Bound(context, StartEnrolment));
    router.Add("POST", "/api/second-factor/enrolment/confirm", Bound(context, ConfirmEnrolment));
    router.Add("POST", "/api/second-factor/remove", Bound(context, RemoveOwn));
    router.Add("GET", "/api/second-factor/policy", Bound(context, GetPolicy));
    router.Add("POST", "/api/second-factor/policy", Bound(context, SetPolicy));
    router.Add("GET", "/api/second-factor/users", Bound(context, EnrolledUsers));
    router.Add("POST", "/api/second-factor/users/{}/reset", Bound(context, ResetUser));
}

} // namespace Kyr::WbmHost
