#include "secondfactor/SecondFactorRecords.h"

#include "audit/AuditMasking.h"

namespace Kyr::WbmHost::Audit {

Kyr::PlatformServices::AuditRecord SecondFactorRecord(const char* eventId, bool success, const std::string& actingUser,
                                                      const std::string& targetUser, const std::string& source,
                                                      const std::string& detail) {
    Kyr::PlatformServices::AuditRecord record;
    record.eventId = eventId;
    record.outcome = success ? Kyr::PlatformServices::AuditOutcome::Success : Kyr::PlatformServices::AuditOutcome::Failure;
    record.user = MaskAuditDetail(actingUser, {}, 64);
    record.target = MaskAuditDetail(targetUser, {}, 64);
    record.source = source;
    record.detail = detail;
    return record;
}

} // namespace Kyr::WbmHost::Audit
