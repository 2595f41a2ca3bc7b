#include "session/LoginCompletion.h"

#include "app/HostLoggers.h"
#include "audit/AccessRecords.h"
#include "audit/LogText.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"

namespace Kyr::WbmHost {

bool IsJsonBody(const HttpRequest& request) {
    std::string type = request.Header("Content-Type");
    type = type.substr(0, type.find(';'));
    while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) type.pop_back();
    return EqualsIgnoringCase(type, "application/json");
}

void CompleteLogin(HostContext& context, const HttpRequest& request, HttpResponse& response, const Kyr::String& userName,
                   bool passwordChangeRequired, const Kyr::String& password) {
    const auto policy = context.services.GetSessionPolicy();
    if (auto previous = HostContext::SessionCookie(request)) context.sessions.End(*previous);
    context.sessions.SetMaxSessionTime(std::chrono::minutes(policy.maxSessionTimeMinutes));
    const SessionInfo session = context.sessions.Create(userName, policy.maxConcurrentSessionsCount, request.remoteAddress);
    response.SetHeader("Set-Cookie", HostContext::SessionCookieHeader(session.id, request.secure));
    SessionLog::LogInfo("User {0} logged in from {1}", OneLine(userName, 64), request.remoteAddress);
    context.services.RecordAudit(Audit::LoginRecord(true, userName, password, "", request.remoteAddress));
    JsonAnswer(response, 200,
               LoginBody(userName, session.csrfToken, passwordChangeRequired, context.SecondFactorEnrolmentRequired(userName)));
}

} // namespace Kyr::WbmHost
