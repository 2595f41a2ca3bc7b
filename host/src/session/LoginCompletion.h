#pragma once
#include "app/HostContext.h"

namespace Kyr::WbmHost {

// Only a JSON login: another site's page cannot send that type without the browser asking the host
// first, so it cannot log a visitor into an account of its choosing. The media type must be exactly
// application/json (parameters such as a charset may follow).
bool IsJsonBody(const HttpRequest& request);

// The end of a successful login (after the password, or after the second factor): starts the session
// (ending the one the request came with), sets the cookie, records the login and answers 200 with
// the login body. `password` only serves the record's masking (empty when not at hand).
void CompleteLogin(HostContext& context, const HttpRequest& request, HttpResponse& response, const Kyr::String& userName,
                   bool passwordChangeRequired, const Kyr::String& password);

} // namespace Kyr::WbmHost
