#pragma once
// The JSON bodies of the directory routes, as pure functions (no HTTP types):
//   GET  /api/ldap/status -> DirectoryStatusBody(services.GetDirectoryStatus())
//   POST /api/ldap/test   -> ParseDirectoryTestBody(request body) (400 when nothing),
//                            then DirectoryTestBody(services.TestDirectoryConnection(...))
#include <optional>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

// {"enabled":..,"attempted":..,"reached":..,"lastAttempt":<Unix seconds>|null,"server":..,"lastError":..}
Kyr::String DirectoryStatusBody(const Kyr::PlatformServices::DirectoryStatus& status);

// {"succeeded":..,"server":..,"failedStep":<name>|null,"steps":[{"step":..,"succeeded":..,"detail":..},..]}
Kyr::String DirectoryTestBody(const Kyr::PlatformServices::DirectoryTestResult& result);

struct DirectoryTestRequest {
    std::optional<Kyr::String> userName; // none: connect, TLS and the service bind only
    std::optional<Kyr::String> password;
};
// An empty body, {} or {"username": "...", "password": "..."} (password may be missing when the user
// name is; a user name given as "" counts as none). Nothing for anything else.
std::optional<DirectoryTestRequest> ParseDirectoryTestBody(const Kyr::String& body);

} // namespace Kyr::WbmHost
