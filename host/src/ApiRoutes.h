#pragma once
#include <httplib.h>

#include "HostContext.h"

namespace Kyr::WbmHost {

inline constexpr const char* JsonContentType = "application/json; charset=utf-8";
inline constexpr const char* LoginFailedText = "Login failed: wrong user name or password, or too many failed attempts.";

// /api/login, /api/logout, /api/session, /api/login-banner and /api/{DataProvider}/{Function}.
void InstallApiRoutes(httplib::Server& server, HostContext& context);

} // namespace Kyr::WbmHost
