#pragma once
// Audit records of logins and sessions, built the same way wherever the host makes them.
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::WbmHost::Audit {

// A login attempt. `userName` is what the client sent (cut to 64 bytes; "***" when it equals the
// password, typed into the wrong field); `reason` is kept in the record only (the client learns
// nothing of it), e.g. "wrong user name or password", "locked", "waiting after failed logins".
Kyr::PlatformServices::AuditRecord LoginRecord(bool success, const std::string& userName, const std::string& password,
                                               const std::string& reason, const std::string& source);

// A session that ended: `reason` one of AuditEvents' Ended... reasons; `actingUser` and `source` are
// the administrator's who ended it (empty when the host ended it: idle, maximum time, ...).
Kyr::PlatformServices::AuditRecord SessionEndedRecord(const std::string& sessionUser, const char* reason,
                                                      const std::string& actingUser = "",
                                                      const std::string& source = "");

} // namespace Kyr::WbmHost::Audit
