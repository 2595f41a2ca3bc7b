// The read API's pieces: the query string's filters and paging, and the JSON and CSV answers.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "audit/AuditHostOptions.h"
#include "audit/AuditQueryString.h"
#include "audit/AuditRendering.h"

namespace Kyr::WbmHost::Audit {
namespace {

namespace Ps = Kyr::PlatformServices;

TEST(AuditQueryString, ReadsFiltersAndPaging) {
    const auto parsed = ParseAuditRequest("from=2026-11-23T10%3A00%3A00Z&to=2026-11-23T11:00:00.5Z&event=user.added"
                                          "&user=J%C3%BCrgen+M&outcome=failure&before=120&limit=50&format=csv");
    ASSERT_TRUE(parsed.request) << parsed.error;
    const Ps::AuditQuery& query = parsed.request->query;
    EXPECT_EQ(query.fromMs, 1'795'428'000'000);
    EXPECT_EQ(query.toMs, 1'795'431'600'500);
    EXPECT_EQ(query.eventId, "user.added");
    EXPECT_EQ(query.user, "J\xC3\xBCrgen M");
    EXPECT_EQ(query.outcome, Ps::AuditOutcome::Failure);
    EXPECT_EQ(query.beforeSequence, 120);
    EXPECT_FALSE(query.afterSequence);
    EXPECT_EQ(query.limit, 50);
    EXPECT_EQ(parsed.request->format, AuditFormat::Csv);

    const auto defaults = ParseAuditRequest("");
    ASSERT_TRUE(defaults.request);
    EXPECT_EQ(defaults.request->query.limit, 100);
    EXPECT_EQ(defaults.request->format, AuditFormat::Json);
    EXPECT_FALSE(defaults.request->query.fromMs);
    EXPECT_TRUE(ParseAuditRequest("after=0&limit=1000").request);
}

TEST(AuditQueryString, RefusesBadInputWithAReason) {
    struct Case {
        const char* query;
        const char* error;
    };
    const Case cases[] = {
        {"usr=admin", "Unknown parameter: usr"},
        {"user=a&user=b", "Parameter given twice: user"},
        {"from=2026-11-23", "Invalid time in 'from'"},
        {"to=2026-11-23T25:00:00Z", "Invalid time in 'to'"},
        {"from=2026-11-23T11:00:00Z&to=2026-11-23T10:00:00Z", "'from' is after 'to'"},
        {"event=user.deleted", "Unknown event id"},
        {"outcome=ok", "'outcome' must be 'success' or 'failure'"},
        {"before=1&after=2", "not both"},
        {"before=-1", "'before' must be a sequence number"},
        {"after=1e3", "'after' must be a sequence number"},
        {"limit=0", "'limit' must be a number from 1 to 1000"},
        {"limit=1001", "'limit' must be a number from 1 to 1000"},
        {"format=xml", "'format' must be 'json' or 'csv'"},
    };
    for (const Case& item : cases) {
        const auto parsed = ParseAuditRequest(item.query);
        EXPECT_FALSE(parsed.request) << item.query;
        EXPECT_NE(parsed.error.find(item.error), std::string::npos) << item.query << ": " << parsed.error;
    }
}

TEST(AuditQueryString, ReadsUtcTimesOfAnyYear) {
    struct Case {
        const char* text;
        std::optional<std::int64_t> ms;
    };
    const Case cases[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2024-02-29T12:00:00.1Z", 1'709'208'000'100},
        {"2040-01-01T00:00:00.123Z", 2'208'988'800'123}, // past the 32-bit time_t limit
        {"1969-12-31T23:59:59.999Z", -1},
        {"2100-02-29T00:00:00Z", std::nullopt}, // no leap year
        {"2026-04-31T00:00:00Z", std::nullopt},
        {"2026-11-23T11:00:60Z", std::nullopt},
        {"2026-11-23T11:00:00.1234Z", std::nullopt},
        {"2026-11-23T11:00:00.Z", std::nullopt},
        {"2026-11-23T11:00:00", std::nullopt},
        {"2026-11-23 11:00:00Z", std::nullopt},
        {"2026-1x-23T11:00:00Z", std::nullopt},
    };
    for (const Case& item : cases) EXPECT_EQ(ParseUtcTime(item.text), item.ms) << item.text;
}

Ps::AuditPage SamplePage() {
    Ps::AuditPage page;
    Ps::AuditRecord login;
    login.sequence = 7;
    login.timeMs = 1'795'428'000'042;
    login.eventId = "session.login.failure";
    login.category = "access";
    login.outcome = Ps::AuditOutcome::Failure;
    login.user = "=HYPERLINK(\"http://x\",\"y\")";
    login.source = "127.0.0.1";
    login.target = "bad\xFFname";
    login.detail = "a, \"quoted\"\r\nsecond line";
    page.records.push_back(login);
    Ps::AuditRecord added = login;
    added.sequence = 6;
    added.eventId = "user.added";
    added.outcome = Ps::AuditOutcome::Success;
    added.user = "@admin";
    added.target = "-1+1";
    added.detail = "+cmd|' /C calc'!A0";
    page.records.push_back(added);
    page.nextCursor = 6;
    return page;
}

TEST(AuditRendering, JsonCarriesEveryFieldAsValidUtf8) {
    Ps::AuditStatus status;
    status.recordCount = 81;
    status.capacity = 100;
    status.capacityWarning = true;
    status.forwardDrops = 3;
    const std::string body = RenderAuditJson(SamplePage(), status);
    rapidjson::Document json;
    json.Parse<rapidjson::kParseValidateEncodingFlag>(body.c_str(), body.size());
    ASSERT_FALSE(json.HasParseError()) << body;
    const auto& first = json["records"][0];
    EXPECT_EQ(first["sequence"].GetInt64(), 7);
    EXPECT_STREQ(first["time"].GetString(), "2026-11-23T10:00:00.042Z");
    EXPECT_STREQ(first["eventId"].GetString(), "session.login.failure");
    EXPECT_STREQ(first["category"].GetString(), "access");
    EXPECT_STREQ(first["outcome"].GetString(), "failure");
    EXPECT_STREQ(first["user"].GetString(), "=HYPERLINK(\"http://x\",\"y\")");
    EXPECT_STREQ(first["source"].GetString(), "127.0.0.1");
    EXPECT_STREQ(first["target"].GetString(), "bad\xEF\xBF\xBDname");
    EXPECT_STREQ(first["detail"].GetString(), "a, \"quoted\"\r\nsecond line");
    EXPECT_STREQ(json["records"][1]["outcome"].GetString(), "success");
    EXPECT_EQ(json["nextCursor"].GetInt64(), 6);
    EXPECT_EQ(json["storage"]["recordCount"].GetInt64(), 81);
    EXPECT_TRUE(json["storage"]["warning"].GetBool());
    EXPECT_EQ(json["storage"]["forwardDrops"].GetUint64(), 3u);

    const std::string last = RenderAuditJson({}, {});
    json.Parse(last.c_str());
    EXPECT_TRUE(json["records"].Empty());
    EXPECT_TRUE(json["nextCursor"].IsNull());
}

TEST(AuditRendering, CsvCellsCannotStartFormulasOrBreakRows) {
    EXPECT_EQ(RenderAuditCsv(SamplePage()),
              "sequence,time,eventId,category,outcome,user,source,target,detail\r\n"
              "7,2026-11-23T10:00:00.042Z,\"session.login.failure\",\"access\",failure,"
              "\"'=HYPERLINK(\"\"http://x\"\",\"\"y\"\")\",\"127.0.0.1\",\"bad\xEF\xBF\xBDname\","
              "\"a, \"\"quoted\"\"\r\nsecond line\"\r\n"
              "6,2026-11-23T10:00:00.042Z,\"user.added\",\"access\",success,\"'@admin\",\"127.0.0.1\",\"'-1+1\","
              "\"'+cmd|' /C calc'!A0\"\r\n");
}

} // namespace
} // namespace Kyr::WbmHost::Audit

namespace Kyr::WbmHost::Audit {
namespace {

Ps::AuditOptions Applied(const std::vector<std::pair<std::string, std::string>>& arguments) {
    Ps::AuditOptions options;
    for (const auto& [name, value] : arguments) EXPECT_TRUE(ApplyAuditHostOption(name, value, options)) << name;
    CheckAuditHostOptions(options);
    return options;
}

TEST(AuditHostOptions, ReadTheCollectorBoundAndFailClosedSwitch) {
    const auto tls = Applied({{"--syslog-tls-trust-store", "collectors"}, {"--syslog", "tls://[::1]"},
                              {"--audit-max-records", "5000"}, {"--audit-fail-closed", "on"}});
    // The collector's address is read by the services' ParseSyslogTarget (services AuditForwardingTest).
    ASSERT_TRUE(tls.syslog);
    EXPECT_EQ(tls.syslog->trustStore, "collectors") << "kept whichever option came first";
    EXPECT_EQ(tls.maxRecords, 5000);
    EXPECT_TRUE(tls.failClosed);

    Ps::AuditOptions options;
    EXPECT_FALSE(ApplyAuditHostOption("--listen", "127.0.0.1:1", options));
    for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
             {"--syslog-tls-trust-store", "../etc"}, {"--audit-max-records", "0"},
             {"--audit-max-records", "10000001"}, {"--audit-fail-closed", "yes"}})
        EXPECT_THROW(ApplyAuditHostOption(name, value, options), std::invalid_argument) << name << " " << value;

    for (const auto& arguments : std::vector<std::vector<std::pair<std::string, std::string>>>{
             {{"--syslog", "tls://collector"}},
             {{"--syslog", "tcp://collector"}, {"--syslog-tls-trust-store", "x"}},
             {{"--syslog-tls-trust-store", "x"}}}) {
        Ps::AuditOptions partial;
        for (const auto& [name, value] : arguments) ApplyAuditHostOption(name, value, partial);
        EXPECT_THROW(CheckAuditHostOptions(partial), std::invalid_argument) << arguments.front().second;
    }
}

} // namespace
} // namespace Kyr::WbmHost::Audit
