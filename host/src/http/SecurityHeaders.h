#pragma once
#include "http/HttpMessage.h"

namespace Kyr::WbmHost {

// The pages keep to this policy: scripts and styles only from the host's own files, no inline script.
inline constexpr const char* ContentSecurityPolicy =
    "default-src 'self'; script-src 'self'; style-src 'self'; img-src 'self' data:; object-src 'none'; "
    "base-uri 'none'; frame-ancestors 'none'; form-action 'self'";

// The headers every answer carries; HSTS only on answers sent over TLS.
void ApplySecurityHeaders(HttpResponse& response, bool secure);

} // namespace Kyr::WbmHost
