#include "audit/AccessRecords.h"

#include "Kyr/PlatformServices/AuditEvents.h"
#include "audit/AuditMasking.h"

namespace Kyr::WbmHost::Audit {

namespace Ps = Kyr::PlatformServices;
namespace Events = Ps::AuditEvents;

Ps::AuditRecord LoginRecord(bool success, const std::string& userName, const std::string& password,
                            const std::string& reason, const std::string& source) {
    Ps::AuditRecord record;
    record.eventId = success ? Events::LoginSucceeded : Events::LoginFailed;
    record.outcome = success ? Ps::AuditOutcome::Success : Ps::AuditOutcome::Failure;
    // Only the whole name is compared: masking every occurrence of a short guess would mangle names.
    const std::string name = !password.empty() && userName == password ? "***" : MaskAuditDetail(userName, {}, 64);
    // Only a known, logged-in user acts; a failed attempt has no actor, its name is the target.
    record.user = success ? name : "";
    record.target = name;
    record.source = source;
    record.detail = MaskAuditDetail(reason, {}, 256);
    return record;
}

Ps::AuditRecord SessionEndedRecord(const std::string& sessionUser, const char* reason, const std::string& actingUser,
                                   const std::string& source) {
    Ps::AuditRecord record;
    record.eventId = Events::SessionEnded;
    record.user = actingUser;
    record.source = source;
    record.target = sessionUser;
    record.detail = reason;
    return record;
}

} // namespace Kyr::WbmHost::Audit
