// Records made the way the host makes them keep every password and session id out of the database,
// the security log and the stream a syslog collector receives.
#include <gtest/gtest.h>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Rsc/ServiceManager.h"
#include "audit/AuditMasking.h"
#include "audit/ModuleRequestAudit.h"
#include "fakes/SyslogCollector.h"
#include "fakes/TempDir.h"

namespace Kyr::Testing {
namespace {

namespace Ps = Kyr::PlatformServices;
namespace Audit = Kyr::WbmHost::Audit;

struct NoSessions : Ps::SessionDirectory {
    std::optional<String> FindUserOfSession(const String&) const override { return std::nullopt; }
    void EndSessionsOfUser(const String&, const char*) override {}
};

TEST(AuditSecrets, NoPasswordOrSessionIdReachesAnyStoredOrForwardedForm) {
    TempDir temp;
    SyslogCollector collector(temp.Path() / "collector");
    const std::string sessionId = "5f1c0d9e8b7a69584736251403f2e1d0c9b8a7968574635241302f1e0d9c8b7a";
    const std::string csrfToken = "c0ffee00c0ffee00c0ffee00c0ffee00";
    const std::vector<std::string> secrets = {"Initial-Admin-1", "New-User-Pw-77", "Changed-Pw-88", "Login-Try-99",
                                              sessionId, csrfToken};
    {
        NoSessions sessions;
        Ps::ServicesOptions options;
        options.dataDirectory = (temp.Path() / "data").string();
        options.hashOpsLimit = 1;
        options.hashMemLimit = 8192;
        options.initialAdminPassword = "Initial-Admin-1";
        options.audit.syslog = Ps::ParseSyslogTarget("tcp://127.0.0.1:" + std::to_string(collector.Port()));
        auto services = Ps::PlatformServices::Open(options, sessions, [] {});
        const Audit::RequestOrigin origin{"admin", "127.0.0.1", {sessionId, csrfToken}};
        const std::string ok = R"({"error":false,"errorText":"","result":true})";

        auto added = Audit::ModuleRequestRecord("UserManagementDp", "AddUser",
                                                "username=op&password=New-User-Pw-77&confirmPassword=New-User-Pw-77", 200,
                                                ok, origin);
        auto set = Audit::ModuleRequestRecord(
            "UserManagementDp", "SetUserPassword",
            "username=op&newPassword=Changed-Pw-88&confirmNewPassword=Changed-Pw-88&session=" + sessionId, 200,
            R"({"error":true,"errorText":"Bad )" + csrfToken + R"("})", origin);
        Ps::AuditRecord login;
        login.eventId = Ps::AuditEvents::LoginFailed;
        login.outcome = Ps::AuditOutcome::Failure;
        login.source = "127.0.0.1";
        login.target = Audit::MaskAuditDetail("Login-Try-99", {"Login-Try-99"}, 64); // a password typed as the name
        login.detail = Audit::MaskAuditDetail(R"({"username":"Login-Try-99","password":"Login-Try-99"})", {"Login-Try-99"});
        for (const auto& record : {*added, *set, login}) ASSERT_TRUE(services->RecordAudit(record));
        ASSERT_TRUE(collector.WaitFor("session.login.failure")) << collector.Received();
        Kyr::System::Rsc::ServiceManager::Clear();
    } // closes the database, so that its journal is folded in

    const std::string received = collector.Received();
    EXPECT_NE(received.find("user.password.set"), std::string::npos) << received;
    for (const std::string& secret : secrets) {
        EXPECT_EQ(received.find(secret), std::string::npos) << secret << " forwarded: " << received;
        EXPECT_TRUE(FilesContaining(temp.Path() / "data", secret).empty()) << secret << " stored";
    }
}

} // namespace
} // namespace Kyr::Testing
