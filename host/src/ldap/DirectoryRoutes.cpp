#include "ldap/DirectoryRoutes.h"

#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/RouteAnswers.h"
#include "ldap/DirectoryBodies.h"

namespace Kyr::WbmHost {

namespace {

namespace Messages = Kyr::Services::Commons::Wbm::Messages;

// The caller may use the directory routes exactly when it may use the LDAP data provider; otherwise
// the refusal is answered and false returned.
bool MayConfigureLdap(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    auto refuse = [&response](int status, std::string body) {
        JsonAnswer(response, status, std::move(body));
        return false;
    };
    Caller caller = context.ResolveCaller(request);
    if (!caller.session) return refuse(401, ErrorBody(ErrorText::LoginRequired));
    if (caller.passwordChangeRequired) return refuse(403, PasswordChangeRequiredBody());
    if (caller.secondFactorEnrolmentRequired) return refuse(403, SecondFactorEnrolmentRequiredBody());
    if (request.method == "POST" && !CsrfTokenValid(request, *caller.session)) return refuse(403, ErrorBody(ErrorText::WrongCsrfToken));
    auto ldap = context.registry.FindDataProvider("LdapDp");
    if (!ldap || !ldap->IsAvailable()) return refuse(503, ErrorBody(ErrorText::ProviderUnavailable));
    if (!ldap->HasPermissions(Messages::SecurityToken(caller.session->id))) return refuse(403, ErrorBody(ErrorText::NoPermission));
    return true;
}

void DirectoryStatus(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    if (!MayConfigureLdap(context, request, response)) return;
    JsonAnswer(response, 200, DirectoryStatusBody(context.services.GetDirectoryStatus()));
}

// Runs on a worker: it may take the configured timeouts of every server.
void DirectoryTest(HostContext& context, const HttpRequest& request, HttpResponse& response) {
    if (!MayConfigureLdap(context, request, response)) return;
    const auto test = ParseDirectoryTestBody(request.body);
    if (!test) return JsonAnswer(response, 400, ErrorBody(ErrorText::InvalidDirectoryTest));
    JsonAnswer(response, 200, DirectoryTestBody(context.services.TestDirectoryConnection(test->userName, test->password)));
}

} // namespace

void AddDirectoryRoutes(Router& router, HostContext& context) {
    router.Add("GET", "/api/ldap/status", Bound(context, DirectoryStatus));
    router.Add("POST", "/api/ldap/test", Bound(context, DirectoryTest));
}

} // namespace Kyr::WbmHost
