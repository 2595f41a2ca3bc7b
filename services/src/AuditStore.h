#pragma once
// The audit records' table: one transaction per record, bounded (the oldest go first), with a
// warning record when the table first fills to the warning level, and filtered, paged reading.
#include <cstdint>
#include <optional>

#include "Kyr/PlatformServices/Audit.h"
#include "Sqlite.h"

namespace Kyr::PlatformServices {

class AuditStore {
public:
    // Creates the table when missing. `maxRecords` at least 1.
    AuditStore(Database& database, std::int64_t maxRecords);

    // Stores `record` (its sequence is assigned, its time must be set) in one transaction, together
    // with the storage warning when this record reaches the warning level. Answers the stored
    // records (the warning last), or throws DatabaseError and stores nothing.
    std::vector<AuditRecord> Store(const AuditRecord& record);

    AuditPage Query(const AuditQuery& query);

    std::int64_t Count() const { return count; }
    std::int64_t Capacity() const { return capacity; }
    bool AtWarningLevel() const { return count >= WarningLevel(); }

private:
    std::int64_t WarningLevel() const;
    AuditRecord Insert(const AuditRecord& record);

    Database& database;
    const std::int64_t capacity;
    std::int64_t count = 0; // kept in step with the table; read once at start
};

} // namespace Kyr::PlatformServices
