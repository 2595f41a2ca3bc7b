#include "AuditStore.h"

#include <fmt/format.h>

#include <algorithm>

#include "Kyr/PlatformServices/AuditEvents.h"

namespace Kyr::PlatformServices {

namespace {

// AUTOINCREMENT: sequence numbers are never reused, also not after the oldest records went.
const char* const AuditTable = R"SQL(
CREATE TABLE IF NOT EXISTS audit_records(
  sequence INTEGER PRIMARY KEY AUTOINCREMENT,
  time_ms INTEGER NOT NULL,
  event_id TEXT NOT NULL,
  category TEXT NOT NULL,
  outcome INTEGER NOT NULL,
  user_name TEXT NOT NULL,
  source TEXT NOT NULL,
  target TEXT NOT NULL,
  detail TEXT NOT NULL
);
CREATE INDEX IF NOT EXISTS audit_records_time ON audit_records(time_ms);
)SQL";

const char* const Columns = "sequence, time_ms, event_id, category, outcome, user_name, source, target, detail";

AuditRecord ReadRecord(const Statement& row) {
    AuditRecord record;
    record.sequence = row.GetInt(0);
    record.timeMs = row.GetInt(1);
    record.eventId = row.GetText(2);
    record.category = row.GetText(3);
    record.outcome = row.GetInt(4) == 0 ? AuditOutcome::Success : AuditOutcome::Failure;
    record.user = row.GetText(5);
    record.source = row.GetText(6);
    record.target = row.GetText(7);
    record.detail = row.GetText(8);
    return record;
}

} // namespace

AuditStore::AuditStore(Database& database, std::int64_t maxRecords)
    : database(database), capacity(std::max<std::int64_t>(maxRecords, 1)) {
    Transaction transaction(database);
    database.Execute(AuditTable);
    Statement rows = database.Prepare("SELECT count(*) FROM audit_records");
    if (rows.Step()) count = rows.GetInt(0);
    transaction.Commit();
}

std::int64_t AuditStore::WarningLevel() const {
    // Rounded up, so that a tiny capacity still warns before it is full.
    return std::max<std::int64_t>(1, (capacity * AuditWarningPercent + 99) / 100);
}

AuditRecord AuditStore::Insert(const AuditRecord& record) {
    AuditRecord stored = record;
    if (stored.category.empty()) stored.category = AuditEvents::CategoryOf(stored.eventId).value_or("");
    database
        .Prepare("INSERT INTO audit_records(time_ms, event_id, category, outcome, user_name, source, target, detail) "
                 "VALUES(?, ?, ?, ?, ?, ?, ?, ?)")
        .Bind(1, stored.timeMs)
        .Bind(2, stored.eventId)
        .Bind(3, stored.category)
        .Bind(4, std::int64_t{stored.outcome == AuditOutcome::Success ? 0 : 1})
        .Bind(5, stored.user)
        .Bind(6, stored.source)
        .Bind(7, stored.target)
        .Bind(8, stored.detail)
        .Run();
    stored.sequence = database.LastInsertRowId();
    return stored;
}

std::vector<AuditRecord> AuditStore::Store(const AuditRecord& record) {
    Transaction transaction(database);
    std::vector<AuditRecord> stored{Insert(record)};
    std::int64_t newCount = count + 1;
    if (count < WarningLevel() && newCount >= WarningLevel()) {
        AuditRecord warning;
        warning.timeMs = record.timeMs;
        warning.eventId = AuditEvents::StorageWarning;
        warning.outcome = AuditOutcome::Failure;
        warning.target = "audit_records";
        warning.detail = fmt::format("{0} of {1} audit records used ({2}%); from {1} on the oldest records are removed",
                                     newCount, capacity, AuditWarningPercent);
        stored.push_back(Insert(warning));
        ++newCount;
    }
    if (newCount > capacity) {
        database
            .Prepare("DELETE FROM audit_records WHERE sequence IN "
                     "(SELECT sequence FROM audit_records ORDER BY sequence LIMIT ?)")
            .Bind(1, newCount - capacity)
            .Run();
        newCount = capacity;
    }
    transaction.Commit();
    count = newCount;
    return stored;
}

AuditPage AuditStore::Query(const AuditQuery& query) {
    std::string where;
    auto add = [&where](const char* condition) { where += where.empty() ? " WHERE " : " AND "; where += condition; };
    if (query.fromMs) add("time_ms >= ?");
    if (query.toMs) add("time_ms <= ?");
    if (!query.eventId.empty()) add("event_id = ?");
    if (!query.user.empty()) add("user_name = ?");
    if (query.outcome) add("outcome = ?");
    if (query.afterSequence) add("sequence > ?");
    else if (query.beforeSequence) add("sequence < ?");
    const bool oldestFirst = query.afterSequence.has_value();
    const int limit = std::clamp(query.limit, 1, MaxAuditPageSize);
    const std::string sql = fmt::format("SELECT {} FROM audit_records{} ORDER BY sequence {} LIMIT ?", Columns, where,
                                        oldestFirst ? "ASC" : "DESC");

    auto lock = database.Lock();
    Statement rows = database.Prepare(sql);
    int index = 0;
    if (query.fromMs) rows.Bind(++index, *query.fromMs);
    if (query.toMs) rows.Bind(++index, *query.toMs);
    if (!query.eventId.empty()) rows.Bind(++index, query.eventId);
    if (!query.user.empty()) rows.Bind(++index, query.user);
    if (query.outcome) rows.Bind(++index, std::int64_t{*query.outcome == AuditOutcome::Success ? 0 : 1});
    if (query.afterSequence) rows.Bind(++index, *query.afterSequence);
    else if (query.beforeSequence) rows.Bind(++index, *query.beforeSequence);
    rows.Bind(++index, std::int64_t{limit} + 1); // one more tells whether a next page exists

    AuditPage page;
    while (rows.Step()) page.records.push_back(ReadRecord(rows));
    if (page.records.size() > static_cast<std::size_t>(limit)) {
        page.records.pop_back();
        page.nextCursor = page.records.back().sequence;
    }
    return page;
}

} // namespace Kyr::PlatformServices
