#pragma once
// A page of audit records as the answer of GET /api/audit: JSON, or CSV for spreadsheets.
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::WbmHost::Audit {

// {"records":[{"sequence":..,"time":"..Z","eventId":..,"category":..,"outcome":..,"user":..,
//  "source":..,"target":..,"detail":..}],"nextCursor":N|null,"storage":{"recordCount":..,"capacity":..,
//  "warning":bool,"lastWriteFailed":bool,"forwarding":bool,"forwardDrops":..}}
// Bytes that are not UTF-8 (a user name a client sent) appear as U+FFFD.
std::string RenderAuditJson(const Kyr::PlatformServices::AuditPage& page,
                            const Kyr::PlatformServices::AuditStatus& status);

// A header line and one line per record (CRLF), every text quoted. A cell that a spreadsheet would
// take for a formula (starting with = + - @, a tab or a carriage return) starts with ' instead.
std::string RenderAuditCsv(const Kyr::PlatformServices::AuditPage& page);

} // namespace Kyr::WbmHost::Audit
