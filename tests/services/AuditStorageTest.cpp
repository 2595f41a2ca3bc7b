// The audit records' table: the bound and its warning, filters and paging, durability across kill -9,
// the escaped security log line and the fail-closed state.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "ServicesTestSupport.h"
#include "Sqlite.h"

namespace Kyr::Testing {
namespace {

namespace Events = Ps::AuditEvents;

Ps::AuditRecord Event(const std::string& eventId, const std::string& user, const std::string& target,
                      Ps::AuditOutcome outcome = Ps::AuditOutcome::Success) {
    Ps::AuditRecord record;
    record.eventId = eventId;
    record.user = user;
    record.source = "127.0.0.1";
    record.target = target;
    record.outcome = outcome;
    return record;
}

std::vector<std::string> Targets(const Ps::AuditPage& page) {
    std::vector<std::string> targets;
    for (const auto& record : page.records) targets.push_back(record.target);
    return targets;
}

struct AuditStorage : ServicesTest {
    Ps::AuditPage All() {
        Ps::AuditQuery query;
        query.limit = Ps::MaxAuditPageSize;
        return services->QueryAudit(query);
    }
};

TEST_F(AuditStorage, KeepsTheNewestRecordsAndWarnsOnceWhenTheWarningLevelIsReached) {
    audit.maxRecords = 10; // warning level: 8 records
    Open();
    for (int i = 1; i <= 7; ++i) ASSERT_TRUE(services->RecordAudit(Event(Events::UserAdded, "admin", "u" + std::to_string(i))));
    EXPECT_FALSE(services->GetAuditStatus().capacityWarning);
    EXPECT_EQ(All().records.front().target, "u7");

    ASSERT_TRUE(services->RecordAudit(Event(Events::UserAdded, "admin", "u8")));
    auto page = All();
    ASSERT_EQ(page.records.size(), 9u);
    EXPECT_EQ(page.records[0].eventId, Events::StorageWarning);
    EXPECT_EQ(page.records[0].category, Events::CategoryAudit);
    EXPECT_NE(page.records[0].detail.find("8 of 10"), std::string::npos) << page.records[0].detail;
    EXPECT_EQ(page.records[1].target, "u8");
    EXPECT_TRUE(services->GetAuditStatus().capacityWarning);

    for (int i = 9; i <= 30; ++i) ASSERT_TRUE(services->RecordAudit(Event(Events::UserAdded, "admin", "u" + std::to_string(i))));
    Open(); // the count is read again from the table
    ASSERT_TRUE(services->RecordAudit(Event(Events::UserAdded, "admin", "u31")));
    page = All();
    EXPECT_EQ(Targets(page), (std::vector<std::string>{"u31", "u30", "u29", "u28", "u27", "u26", "u25", "u24", "u23", "u22"}))
        << "the oldest go first and no second warning follows";
    const auto status = services->GetAuditStatus();
    EXPECT_EQ(status.recordCount, 10);
    EXPECT_EQ(status.capacity, 10);
    EXPECT_TRUE(status.capacityWarning);
    for (std::size_t i = 1; i < page.records.size(); ++i)
        EXPECT_EQ(page.records[i - 1].sequence, page.records[i].sequence + 1) << "numbers are never reused";
}

TEST_F(AuditStorage, QueriesFilterByTimeEventUserAndOutcome) {
    const std::int64_t start = 1'800'000'000'000;
    services->RecordAudit(Event(Events::LoginSucceeded, "admin", "a"));
    Advance(std::chrono::seconds(60));
    services->RecordAudit(Event(Events::LoginFailed, "", "b", Ps::AuditOutcome::Failure));
    Advance(std::chrono::seconds(60));
    services->RecordAudit(Event(Events::UserAdded, "admin", "c"));
    Advance(std::chrono::seconds(60));
    services->RecordAudit(Event(Events::UserAdded, "operator", "d", Ps::AuditOutcome::Failure));

    struct Case {
        const char* name;
        std::function<void(Ps::AuditQuery&)> filter;
        std::vector<std::string> targets;
    };
    const Case cases[] = {
        {"none", [](Ps::AuditQuery&) {}, {"d", "c", "b", "a"}},
        {"from", [&](Ps::AuditQuery& q) { q.fromMs = start + 60'000; }, {"d", "c", "b"}},
        {"to", [&](Ps::AuditQuery& q) { q.toMs = start + 60'000; }, {"b", "a"}},
        {"range", [&](Ps::AuditQuery& q) { q.fromMs = start + 1; q.toMs = start + 120'000; }, {"c", "b"}},
        {"event", [](Ps::AuditQuery& q) { q.eventId = Events::UserAdded; }, {"d", "c"}},
        {"user", [](Ps::AuditQuery& q) { q.user = "admin"; }, {"c", "a"}},
        {"outcome", [](Ps::AuditQuery& q) { q.outcome = Ps::AuditOutcome::Failure; }, {"d", "b"}},
        {"all", [](Ps::AuditQuery& q) { q.eventId = Events::UserAdded; q.user = "admin"; q.outcome = Ps::AuditOutcome::Success; }, {"c"}},
        {"unknown user", [](Ps::AuditQuery& q) { q.user = "nobody"; }, {}},
    };
    for (const Case& item : cases) {
        Ps::AuditQuery query;
        item.filter(query);
        EXPECT_EQ(Targets(services->QueryAudit(query)), item.targets) << item.name;
    }
    EXPECT_EQ(All().records.back().timeMs, start) << "the services' clock, in milliseconds";
}

TEST_F(AuditStorage, PagesFollowTheSequenceInBothDirections) {
    for (char c = 'a'; c <= 'g'; ++c) services->RecordAudit(Event(Events::UserAdded, "admin", std::string(1, c)));

    for (bool oldestFirst : {false, true}) {
        std::vector<std::string> seen;
        Ps::AuditQuery query;
        query.limit = 3;
        if (oldestFirst) query.afterSequence = 0;
        for (int pages = 0; pages < 10; ++pages) {
            const auto page = services->QueryAudit(query);
            for (const auto& target : Targets(page)) seen.push_back(target);
            if (!page.nextCursor) break;
            (oldestFirst ? query.afterSequence : query.beforeSequence) = page.nextCursor;
        }
        const std::vector<std::string> expected = oldestFirst ? std::vector<std::string>{"a", "b", "c", "d", "e", "f", "g"}
                                                              : std::vector<std::string>{"g", "f", "e", "d", "c", "b", "a"};
        EXPECT_EQ(seen, expected) << (oldestFirst ? "oldest first" : "newest first");
    }
}

TEST_F(AuditStorage, ARecordSurvivesKillRightAfterItWasStored) {
    services.reset();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(ready[0]);
        Open();
        const bool stored = services->RecordAudit(Event(Events::UserRemoved, "admin", "survivor"));
        const char answer = stored ? '1' : '0';
        if (write(ready[1], &answer, 1) != 1) _exit(2);
        for (;;) pause(); // killed here, with the services still open
    }
    close(ready[1]);
    char answer = 0;
    ASSERT_EQ(read(ready[0], &answer, 1), 1);
    close(ready[0]);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(answer, '1');

    Open();
    Ps::AuditQuery query;
    query.eventId = Events::UserRemoved;
    EXPECT_EQ(Targets(services->QueryAudit(query)), std::vector<std::string>{"survivor"});
}

TEST_F(AuditStorage, SecurityLogLinesCannotBeForgedByAnyField) {
    auto forged = Event(Events::LoginFailed, "evil\" address=\"10.9.9.9\" reason=\"ok", "evil\\", Ps::AuditOutcome::Failure);
    forged.detail = "first line\nsecond=\"line\"]";
    ASSERT_TRUE(services->RecordAudit(forged));
    // Quotes and backslashes escaped, the line break written as \n: one line with one field of each name.
    const std::string log = ReadFileText(directory + "/security.log");
    EXPECT_EQ(log.substr(log.find(" seq=")),
              R"( seq=1 event="session.login.failure" category="access" outcome="failure" )"
              R"(user="evil\" address=\"10.9.9.9\" reason=\"ok" address="127.0.0.1" target="evil\\" )"
              R"(detail="first line\nsecond=\"line\"]")" "\n");
}

TEST_F(AuditStorage, FailClosedBlocksChangesOnlyWhileRecordsCannotBeStored) {
    for (bool failClosed : {false, true}) {
        audit.failClosed = failClosed;
        Open();
        Ps::Database other(directory + "/users.db");
        other.Execute("ALTER TABLE audit_records RENAME TO audit_records_away");
        EXPECT_FALSE(services->RecordAudit(Event(Events::UserAdded, "admin", "lost")));
        EXPECT_EQ(services->AuditBlocksChanges(), failClosed);
        EXPECT_TRUE(services->GetAuditStatus().lastWriteFailed);
        EXPECT_NE(ReadFileText(directory + "/security.log").find("target=\"lost\""), std::string::npos)
            << "a record that could not be stored is still logged";

        other.Execute("ALTER TABLE audit_records_away RENAME TO audit_records");
        EXPECT_TRUE(services->RecordAudit(Event(Events::UserAdded, "admin", "kept")));
        EXPECT_FALSE(services->AuditBlocksChanges());
    }
}

} // namespace
} // namespace Kyr::Testing
