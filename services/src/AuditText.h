#pragma once
// Text forms of an audit record. Every field is escaped, so that no value (a user name chosen by a
// caller without a session, say) can end its field early and forge another.
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::PlatformServices {

// "2026-11-23T11:42:26.123Z"
std::string AuditTimeText(std::int64_t timeMs);

// One security log line: the time, then name="value" fields; inside values `"` and `\` are escaped
// with a backslash and control characters written as \n, \r, \t or \xHH.
std::string AuditLogLine(const AuditRecord& record);

// The RFC 5424 message (without framing) of a record: facility authpriv, severity notice for a
// success and warning otherwise, MSGID the event id, the fields as structured data "audit@32473"
// and the detail as the message.
std::string SyslogMessage(const AuditRecord& record, const std::string& hostName, const std::string& appName,
                          long processId);

// Octet-counting framing for syslog over TCP (RFC 6587): "LENGTH SP MESSAGE".
std::string FrameOctetCounted(const std::string& message);

} // namespace Kyr::PlatformServices
