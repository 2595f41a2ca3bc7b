#include "audit/AuditRoutes.h"

#include "audit/AuditQueryString.h"
#include "audit/AuditRendering.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"

namespace Kyr::WbmHost {

namespace {

void AuditRecords(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    Caller caller = context.ResolveCaller(request);
    if (!caller.session) return JsonAnswer(response, 401, ErrorBody(ErrorText::LoginRequired));
    if (caller.passwordChangeRequired) return JsonAnswer(response, 403, PasswordChangeRequiredBody());
    if (caller.secondFactorEnrolmentRequired) return JsonAnswer(response, 403, SecondFactorEnrolmentRequiredBody());
    if (!context.services.IsAdministrator(caller.session->userName))
        return JsonAnswer(response, 403, ErrorBody(ErrorText::AdministratorsOnly));
    const auto parsed = Audit::ParseAuditRequest(request.query);
    if (!parsed.request) return JsonAnswer(response, 400, ErrorBody(parsed.error));
    const auto page = context.services.QueryAudit(parsed.request->query);
    if (parsed.request->format == Audit::AuditFormat::Json)
        return JsonAnswer(response, 200, Audit::RenderAuditJson(page, context.services.GetAuditStatus()));
    response.status = 200;
    response.SetHeader("Cache-Control", "no-store");
    response.SetHeader("Content-Disposition", "attachment; filename=\"audit.csv\"");
    response.SetContent(Audit::RenderAuditCsv(page), "text/csv; charset=utf-8");
}

} // namespace

void AddAuditRoutes(Router& router, HostContext& context) { router.Add("GET", "/api/audit", Bound(context, AuditRecords)); }

} // namespace Kyr::WbmHost
