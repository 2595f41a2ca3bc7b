#pragma once
// The audit record of a module request function that changes something, built from the request and
// the answer the caller got.
#include <optional>
#include <string>
#include <vector>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::WbmHost::Audit {

struct RequestOrigin {
    std::string user;                 // the session's user; empty without a session
    std::string source;               // the client's address
    std::vector<std::string> secrets; // the session id and CSRF token of the request: never recorded
};

// Nothing for a function that only reads (or an unknown one). Otherwise the record: the event of the
// function; the target (the user name in the request data, the own user for an own password change,
// or the area the function configures); the outcome from the answer, the module's JSON envelope
// {"error":..,"errorText":..} or the host's own error body (an answer that is neither, or a status
// other than 200, is a failure); the detail: the error text, then the request data with passwords
// and secrets masked (for the LDAP file and the block list only their size). The query string, which
// may carry passwords, is never used.
std::optional<Kyr::PlatformServices::AuditRecord> ModuleRequestRecord(const std::string& dataProvider,
                                                                      const std::string& function,
                                                                      const std::string& requestData, int status,
                                                                      const std::string& answer,
                                                                      const RequestOrigin& origin);

} // namespace Kyr::WbmHost::Audit
