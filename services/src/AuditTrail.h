#pragma once
// The services' audit trail: the records' table, the escaped security log file and the syslog
// forwarder, kept in one order (a record's sequence number is also its place in the file and the stream).
#include <atomic>
#include <memory>

#include "AuditStore.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "ServiceContext.h"
#include "SyslogForwarder.h"

namespace Kyr::PlatformServices {

class AuditTrail : private Kyr::System::Commons::Logging::Loggable<AuditTrail> {
public:
    // Throws SyslogError when the forwarding's trust store has no certificate.
    explicit AuditTrail(ServiceContext& context);
    ~AuditTrail();

    bool Record(const AuditRecord& record);
    AuditPage Query(const AuditQuery& query);
    AuditStatus Status();
    bool BlocksChanges() const { return context.options.audit.failClosed && lastWriteFailed.load(); }

private:
    std::int64_t NowMs() const;
    void AppendToLog(const AuditRecord& record);
    void ForwardingResumed(std::uint64_t dropped, const std::string& failure);

    ServiceContext& context;
    AuditStore store;
    std::atomic<bool> lastWriteFailed{false};
    std::unique_ptr<SyslogForwarder> forwarder; // last: its thread records into the members above
};

} // namespace Kyr::PlatformServices
