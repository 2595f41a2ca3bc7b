#include "http/SecurityHeaders.h"

namespace Kyr::WbmHost {

void ApplySecurityHeaders(HttpResponse& response, bool secure) {
    response.SetHeader("X-Content-Type-Options", "nosniff");
    response.SetHeader("X-Frame-Options", "DENY");
    response.SetHeader("Referrer-Policy", "no-referrer");
    response.SetHeader("Content-Security-Policy", ContentSecurityPolicy);
    if (secure) response.SetHeader("Strict-Transport-Security", "max-age=31536000");
}

} // namespace Kyr::WbmHost
