#pragma once
// Audit records of the second factor. They name the user and what happened, never a secret or a code.
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::WbmHost::Audit {

// `eventId`: one of AuditEvents' SecondFactor... ids. `actingUser` did it to `targetUser` from `source`.
Kyr::PlatformServices::AuditRecord SecondFactorRecord(const char* eventId, bool success, const std::string& actingUser,
                                                      const std::string& targetUser, const std::string& source,
                                                      const std::string& detail = "");

} // namespace Kyr::WbmHost::Audit
