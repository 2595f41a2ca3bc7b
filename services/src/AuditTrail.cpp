#include "AuditTrail.h"

#include <fmt/format.h>

#include "AtomicFile.h"
#include "AuditText.h"
#include "Kyr/PlatformServices/AuditEvents.h"

namespace Kyr::PlatformServices {

AuditTrail::AuditTrail(ServiceContext& context)
    : context(context), store(context.database, context.options.audit.maxRecords) {
    const AuditOptions& options = context.options.audit;
    if (!options.syslog) return;
    forwarder = std::make_unique<SyslogForwarder>(
        *options.syslog, context.paths.trustStores + "/" + options.syslog->trustStore, options.forwardQueueLength,
        [this](std::uint64_t dropped, const std::string& failure) { ForwardingResumed(dropped, failure); });
}

AuditTrail::~AuditTrail() { forwarder.reset(); } // before the store goes: the sender thread records

std::int64_t AuditTrail::NowMs() const {
    const auto now = context.options.clock ? context.options.clock() : std::chrono::system_clock::now();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
}

void AuditTrail::AppendToLog(const AuditRecord& record) {
    std::lock_guard<std::mutex> lock(context.securityLogMutex);
    if (int error = AppendToFile(context.paths.securityLog, AuditLogLine(record) + "\n"))
        LogError("Cannot append to the security log: errno {0}", error);
}

bool AuditTrail::Record(const AuditRecord& record) {
    AuditRecord complete = record;
    if (complete.timeMs == 0) complete.timeMs = NowMs();
    if (complete.category.empty()) complete.category = AuditEvents::CategoryOf(complete.eventId).value_or("");
    // Under the database's lock up to the queue, so that the file and the stream keep the sequence order.
    auto lock = context.database.Lock();
    std::vector<AuditRecord> stored;
    try {
        stored = store.Store(complete);
        lastWriteFailed = false;
    } catch (const std::exception& error) {
        LogError("Cannot store the audit record {0}: {1}", complete.eventId, error.what());
        lastWriteFailed = true;
        stored = {complete}; // sequence 0: not stored, but still logged and forwarded
    }
    for (const AuditRecord& each : stored) {
        AppendToLog(each);
        if (forwarder) forwarder->Enqueue(each);
    }
    return !lastWriteFailed;
}

AuditPage AuditTrail::Query(const AuditQuery& query) { return store.Query(query); }

AuditStatus AuditTrail::Status() {
    auto lock = context.database.Lock();
    AuditStatus status;
    status.recordCount = store.Count();
    status.capacity = store.Capacity();
    status.capacityWarning = store.AtWarningLevel();
    status.lastWriteFailed = lastWriteFailed;
    status.forwarding = forwarder != nullptr;
    status.forwardDrops = forwarder ? forwarder->Drops() : 0;
    return status;
}

void AuditTrail::ForwardingResumed(std::uint64_t dropped, const std::string& failure) {
    const SyslogTarget& target = *context.options.audit.syslog;
    AuditRecord record;
    record.eventId = AuditEvents::ForwardingResumed;
    record.target = fmt::format("{}://{}:{}", target.tls ? "tls" : "tcp", target.host, target.port);
    record.detail = fmt::format("{} records dropped while the collector was unreachable ({})", dropped, failure);
    Record(record);
}

} // namespace Kyr::PlatformServices
