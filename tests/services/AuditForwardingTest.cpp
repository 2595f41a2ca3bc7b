// Audit records forwarded to a real syslog collector (rsyslogd on a loopback port): framing,
// structured data, TLS with a device trust store, and a collector that goes away and comes back.
#include "Kyr/PlatformServices/AuditEvents.h"
#include "ServicesTestSupport.h"
#include "SyslogConnection.h"
#include "fakes/SyslogCollector.h"
#include "fakes/Thrown.h"

namespace Kyr::Testing {
namespace {

namespace Events = Ps::AuditEvents;

Ps::AuditRecord LoginFailure(const std::string& user) {
    Ps::AuditRecord record;
    record.eventId = Events::LoginFailed;
    record.outcome = Ps::AuditOutcome::Failure;
    record.user = user;
    record.source = "127.0.0.1";
    record.target = user;
    record.detail = "wrong user name or password";
    return record;
}

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

struct AuditForwarding : ServicesTest {
    void OpenForwardingTo(const std::string& collector, const std::string& trustStore = "") {
        audit.syslog = Ps::ParseSyslogTarget(collector);
        audit.syslog->trustStore = trustStore;
        Open();
    }
    TempDir collectorFolder;
};

TEST_F(AuditForwarding, RecordsReachTheCollectorAsEscapedStructuredData) {
    SyslogCollector collector(collectorFolder.Path());
    OpenForwardingTo("tcp://127.0.0.1:" + std::to_string(collector.Port()));
    ASSERT_TRUE(services->RecordAudit(LoginFailure("evil\" address=\"10.9.9.9\"] x=\"")));
    Ps::AuditRecord added;
    added.eventId = Events::UserAdded;
    added.user = "admin";
    added.target = "operator1";
    ASSERT_TRUE(services->RecordAudit(added));

    ASSERT_TRUE(collector.WaitFor("user.added")) << collector.Received();
    const std::string received = collector.Received();
    EXPECT_EQ(Count(received, "\n"), 2u) << "one message per record: " << received;
    EXPECT_NE(received.find("<84>1 "), std::string::npos) << "authpriv.warning for the failure: " << received;
    EXPECT_NE(received.find("<85>1 "), std::string::npos) << "authpriv.notice for the success: " << received;
    EXPECT_NE(received.find(" wbm-host "), std::string::npos) << received;
    // The collector's own RFC 5424 parser found the MSGID and the whole structured data element (it
    // writes each line as "MSGID STRUCTURED-DATA | raw message"; "-" when it could not parse them).
    EXPECT_EQ(received.rfind("session.login.failure [audit@32473 seq=\"1\" event=\"session.login.failure\" "
                             "category=\"access\" outcome=\"failure\" user=\"evil\\\" address=\\\"10.9.9.9\\\"\\] "
                             "x=\\\"\" address=\"127.0.0.1\" target=",
                             0),
              0u)
        << received;
    EXPECT_NE(received.find("\nuser.added [audit@32473 seq=\"2\" event=\"user.added\" category=\"configuration\" "
                            "outcome=\"success\" user=\"admin\" address=\"\" target=\"operator1\"] |"),
              std::string::npos)
        << received;
}

TEST_F(AuditForwarding, TlsCollectorIsVerifiedWithTheDeviceTrustStore) {
    const CollectorTls certificates = MakeTestCertificates(collectorFolder.Path() / "pki");
    SyslogCollector collector(collectorFolder.Path(), certificates);
    const std::string trustStore = directory + "/truststores/syslog";
    std::filesystem::create_directories(trustStore);
    std::filesystem::copy_file(certificates.caFile, trustStore + "/ca.pem");

    OpenForwardingTo("tls://127.0.0.1:" + std::to_string(collector.Port()), "syslog");
    ASSERT_TRUE(services->RecordAudit(LoginFailure("tls-user")));
    EXPECT_TRUE(collector.WaitFor("user=\"tls-user\"")) << collector.Received();

    // A collector whose certificate another CA signed is refused.
    const CollectorTls other = MakeTestCertificates(collectorFolder.Path() / "other", "Another CA");
    const auto otherStore = Ps::MakeSyslogTlsContext((collectorFolder.Path() / "other").string());
    auto target = Ps::ParseSyslogTarget("tls://127.0.0.1:" + std::to_string(collector.Port()));
    const auto error = Thrown<Ps::SyslogError>([&] { Ps::SyslogConnection(target, otherStore, std::chrono::seconds(2)); });
    ASSERT_TRUE(error) << "connected to a collector that the trust store does not know";
    EXPECT_NE(std::string(error->what()).find("certificate"), std::string::npos) << error->what();
    EXPECT_THROW(Ps::MakeSyslogTlsContext(directory + "/truststores/empty"), Ps::SyslogError);
}

TEST_F(AuditForwarding, AStoppedCollectorCostsDroppedRecordsNotWaitingCallers) {
    SyslogCollector collector(collectorFolder.Path());
    audit.forwardQueueLength = 5;
    OpenForwardingTo("tcp://127.0.0.1:" + std::to_string(collector.Port()));
    ASSERT_TRUE(services->RecordAudit(LoginFailure("before")));
    ASSERT_TRUE(collector.WaitFor("user=\"before\""));

    collector.Stop();
    for (int i = 0; i < 50; ++i) ASSERT_TRUE(services->RecordAudit(LoginFailure("while-down-" + std::to_string(i))));
    const auto drops = services->GetAuditStatus().forwardDrops;
    EXPECT_GE(drops, 40u) << "the queue holds 5; the callers went on";
    Ps::AuditQuery query;
    query.user = "while-down-49";
    EXPECT_EQ(services->QueryAudit(query).records.size(), 1u) << "every record is stored all the same";

    collector.Start();
    ASSERT_TRUE(collector.WaitFor("audit.forwarding.resumed")) << collector.Received();
    EXPECT_NE(collector.Received().find(std::to_string(drops) + " records dropped"), std::string::npos)
        << collector.Received();
    ASSERT_TRUE(services->RecordAudit(LoginFailure("after")));
    EXPECT_TRUE(collector.WaitFor("user=\"after\"")) << collector.Received();
    query.user.clear();
    query.eventId = Events::ForwardingResumed;
    EXPECT_EQ(services->QueryAudit(query).records.size(), 1u) << "the resumption is an audit record too";
}

TEST(SyslogTarget, ParsesCollectorAddressesAndNamesTheirFaults) {
    struct Case {
        const char* text;
        const char* host;
        int port;
        bool tls;
    };
    const Case valid[] = {
        {"tcp://127.0.0.1:6514", "127.0.0.1", 6514, false},
        {"tcp://collector.plant.example", "collector.plant.example", 514, false},
        {"tls://collector", "collector", 6514, true},
        {"tls://[::1]:10514", "::1", 10514, true},
        {"tls://[fe80::1]", "fe80::1", 6514, true},
    };
    for (const Case& item : valid) {
        const auto target = Ps::ParseSyslogTarget(item.text);
        EXPECT_EQ(target.host, item.host) << item.text;
        EXPECT_EQ(target.port, item.port) << item.text;
        EXPECT_EQ(target.tls, item.tls) << item.text;
    }
    for (const char* invalid : {"udp://127.0.0.1:514", "127.0.0.1:514", "tcp://", "tcp://:514", "tcp://host:",
                                "tcp://host:0", "tcp://host:65536", "tcp://host:12a", "tcp://[::1", "tcp://[::1]514",
                                "tcp://host/path", "tcp://a b:514"})
        EXPECT_THROW(Ps::ParseSyslogTarget(invalid), std::invalid_argument) << invalid;
}

} // namespace
} // namespace Kyr::Testing
