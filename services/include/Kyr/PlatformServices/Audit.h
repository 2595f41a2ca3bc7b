#pragma once
// Audit records: who did what, when, from where, with which outcome. The host (and the services
// themselves) write one record where a security-relevant event happens; the services store it in the
// database, append its escaped text form to the security log and forward it to a syslog collector.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kyr::PlatformServices {

enum class AuditOutcome { Success, Failure };

// "success" / "failure", and back (nothing for any other text).
const char* AuditOutcomeName(AuditOutcome outcome);
std::optional<AuditOutcome> ParseAuditOutcome(const std::string& text);

struct AuditRecord {
    std::int64_t sequence = 0; // given by the storage; ignored by RecordAudit
    std::int64_t timeMs = 0;   // UTC milliseconds since 1970; 0: the moment it is stored
    std::string eventId;       // one of AuditEvents.h
    std::string category;      // empty: the catalogue's category of eventId
    AuditOutcome outcome = AuditOutcome::Success;
    std::string user;   // the acting user; empty when nobody is logged in (or the host itself acts)
    std::string source; // the client's address; empty for the host's own events
    std::string target; // what the event is about: a user name, a policy area, a session's user, ...
    std::string detail; // error text, reason or the masked request; never a password or session id
};

// Filters of a query; an empty field does not filter. Records come newest first, or oldest first
// when `afterSequence` is given (reading on from a known point).
struct AuditQuery {
    std::optional<std::int64_t> fromMs; // time >= fromMs
    std::optional<std::int64_t> toMs;   // time <= toMs
    std::string eventId;
    std::string user;
    std::optional<AuditOutcome> outcome;
    std::optional<std::int64_t> beforeSequence; // sequence < beforeSequence, newest first
    std::optional<std::int64_t> afterSequence;  // sequence > afterSequence, oldest first
    int limit = 100;                             // 1..MaxAuditPageSize
};

inline constexpr int MaxAuditPageSize = 1000;

struct AuditPage {
    std::vector<AuditRecord> records;
    // The cursor for the next page in the same direction (the last record's sequence), when more
    // records match.
    std::optional<std::int64_t> nextCursor;
};

// What the security log page shows about the storage.
struct AuditStatus {
    std::int64_t recordCount = 0;
    std::int64_t capacity = 0;
    bool capacityWarning = false;    // at least WarningPercent of the capacity is used
    bool lastWriteFailed = false;    // the newest attempt to store a record failed
    std::uint64_t forwardDrops = 0;  // records the syslog queue had to drop since the start
    bool forwarding = false;         // a syslog collector is configured
};

inline constexpr int AuditWarningPercent = 80;

// Where records are forwarded: a syslog collector over TCP, optionally TLS.
struct SyslogTarget {
    std::string host; // name or IP address (IPv6 without brackets)
    int port = 0;
    bool tls = false;
    std::string trustStore; // TLS: the name of the device trust store that verifies the collector
};

// Parses "tcp://HOST:PORT" or "tls://HOST:PORT" ("[v6]:PORT" for IPv6; TLS port default 6514, TCP
// 514). Throws std::invalid_argument with a message naming the problem.
SyslogTarget ParseSyslogTarget(const std::string& text);

struct AuditOptions {
    std::int64_t maxRecords = 100000; // the oldest records go first beyond this
    // The host refuses changing requests while records cannot be written (AuditBlocksChanges).
    bool failClosed = false;
    std::optional<SyslogTarget> syslog;
    std::size_t forwardQueueLength = 1000; // records waiting for the collector; beyond, dropped and counted
};

} // namespace Kyr::PlatformServices
