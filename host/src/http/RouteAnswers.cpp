#include "http/RouteAnswers.h"

#include "http/ErrorTexts.h"
#include "session/RandomToken.h"

namespace Kyr::WbmHost {

void JsonAnswer(HttpResponse& response, int status, std::string body) {
    response.status = status;
    response.SetHeader("Cache-Control", "no-store");
    response.SetContent(std::move(body), JsonContentType);
}

bool CsrfTokenValid(const HttpRequest& request, const SessionInfo& session) {
    return SecretsEqual(request.Header("X-CSRF-Token"), session.csrfToken);
}

} // namespace Kyr::WbmHost
