#pragma once
// The filters and paging of GET /api/audit, read from the raw query string.
#include <cstdint>
#include <optional>
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::WbmHost::Audit {

enum class AuditFormat { Json, Csv };

struct AuditRequest {
    Kyr::PlatformServices::AuditQuery query;
    AuditFormat format = AuditFormat::Json;
};

struct ParsedAuditRequest {
    std::optional<AuditRequest> request;
    std::string error; // why not, for a 400 answer
};

// Parameters (URL-encoded, each at most once, all optional): from, to (UTC "YYYY-MM-DDTHH:MM:SS[.mmm]Z",
// inclusive), event (an id of the catalogue), user, outcome ("success" or "failure"), before or after
// (a sequence number; not both), limit (1-1000, default 100), format ("json" or "csv").
ParsedAuditRequest ParseAuditRequest(const std::string& rawQuery);

// Milliseconds since 1970 of "YYYY-MM-DDTHH:MM:SS[.fff]Z" (one to three fraction digits); nothing
// for any other text or an impossible date.
std::optional<std::int64_t> ParseUtcTime(const std::string& text);

} // namespace Kyr::WbmHost::Audit
