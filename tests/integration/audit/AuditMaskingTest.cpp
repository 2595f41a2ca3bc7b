// Secrets never reach an audit record's detail or target.
#include <gtest/gtest.h>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "audit/AccessRecords.h"
#include "audit/AuditMasking.h"
#include "audit/ModuleRequestAudit.h"

namespace Kyr::WbmHost::Audit {
namespace {

namespace Events = Kyr::PlatformServices::AuditEvents;
using Kyr::PlatformServices::AuditOutcome;

const std::string SessionId(64, 'a');
const std::string CsrfToken = "0123456789abcdef0123456789ABCDEF";

// Password values and control characters as in every log line (sessions/LogTextTest), and more.
TEST(AuditMasking, HidesPasswordsSessionIdsAndTokens) {
    struct Case {
        std::string text;
        std::vector<std::string> secrets;
        std::string detail;
    };
    const Case cases[] = {
        {"username=bob&password=Pw-1&confirmPassword=Pw-1", {}, "username=bob&password=***&confirmPassword=***"},
        {"cookie session=" + SessionId + "; next", {}, "cookie session=***; next"},
        {"token " + CsrfToken + "!", {}, "token ***!"},
        {"short hex deadbeef stays", {}, "short hex deadbeef stays"},
        {"login of evil with Not-Hex-Secret", {"Not-Hex-Secret"}, "login of evil with ***"},
    };
    for (const Case& item : cases) EXPECT_EQ(MaskAuditDetail(item.text, item.secrets), item.detail) << item.text;

    const std::string longText = std::string(2000, 'x') + " password=Hidden-Too";
    const std::string cut = MaskAuditDetail(longText, {}, 100);
    EXPECT_EQ(cut.size(), 103u) << "cut and marked with ...";
    EXPECT_EQ(MaskAuditDetail(longText).find("Hidden-Too"), std::string::npos);
}

TEST(ModuleRequestRecord, DescribesEachChangingFunctionWithoutItsSecrets) {
    const RequestOrigin origin{"admin", "192.0.2.7", {SessionId, CsrfToken}};
    const std::string ok = R"({"error":false,"errorText":"","result":true})";
    struct Case {
        const char* provider;
        const char* function;
        std::string data;
        std::string answer;
        const char* eventId;
        std::string target;
        AuditOutcome outcome;
        std::string detail;
    };
    const Case cases[] = {
        {"UserManagementDp", "AddUser", "username=op1&password=Op-Pw-1&confirmPassword=Op-Pw-1", ok, Events::UserAdded,
         "op1", AuditOutcome::Success, "username=op1&password=***&confirmPassword=***"},
        {"UserManagementDp", "RemoveUser", "username=op1", R"({"error":true,"errorText":"User not found"})",
         Events::UserRemoved, "op1", AuditOutcome::Failure, "User not found; request: username=op1"},
        {"UserManagementDp", "SetUserPassword", "username=op1&newPassword=N-1&confirmNewPassword=N-1", ok,
         Events::UserPasswordSet, "op1", AuditOutcome::Success, "username=op1&newPassword=***&confirmNewPassword=***"},
        {"UserManagementDp", "ModifyUserConfig", R"({"userConfigItem":{"userName":"op1","userRoles":["Admin"]}})", ok,
         Events::UserConfigChanged, "op1", AuditOutcome::Success, R"({"userConfigItem":{"userName":"op1","userRoles":["Admin"]}})"},
        {"UserManagementInfoDp", "ChangeCurrentUserPassword", "", ok, Events::OwnPasswordChanged, "admin",
         AuditOutcome::Success, ""},
        {"UserManagementDp", "SetAuthenticationRequiredState", "userAthenticationEnabled=false", ok,
         Events::AuthenticationRequiredChanged, "authentication", AuditOutcome::Success, "userAthenticationEnabled=false"},
        {"UserManagementDp", "SetPasswordBlockList", R"({"passwordsBlockList":["Secret1"]})", ok, Events::BlockListChanged,
         "password block list", AuditOutcome::Success, "34 bytes"},
        {"LdapDp", "SetLdapConfiguration", "uri ldap://x\nbindpw S3cret\n", ok, Events::LdapConfigurationUploaded, "ldap",
         AuditOutcome::Success, "27 bytes"},
        {"SystemUseNotificationDp", "SetSystemUseNotification", "SystemUseNotification=Hi", "not json",
         Events::LoginTextChanged, "login text", AuditOutcome::Failure, "HTTP status 200; request: SystemUseNotification=Hi"},
        {"UserManagementDp", "RestartSystem", "", R"({"error":true,"errorText":"Missing or wrong CSRF token"})",
         Events::RestartRequested, "device", AuditOutcome::Failure, "Missing or wrong CSRF token"},
        {"UserManagementDp", "AddUser", "username=" + SessionId + "&password=x", ok, Events::UserAdded, "***",
         AuditOutcome::Success, "username=***&password=***"},
    };
    for (const Case& item : cases) {
        const int status = item.answer.find("CSRF") != std::string::npos ? 403 : 200;
        const auto record = ModuleRequestRecord(item.provider, item.function, item.data, status, item.answer, origin);
        ASSERT_TRUE(record) << item.function;
        EXPECT_EQ(record->eventId, item.eventId) << item.function;
        EXPECT_EQ(record->target, item.target) << item.function;
        EXPECT_EQ(record->outcome, item.outcome) << item.function;
        EXPECT_EQ(record->detail, item.detail) << item.function;
        EXPECT_EQ(record->user, "admin");
        EXPECT_EQ(record->source, "192.0.2.7");
    }
    for (const char* reading : {"GetUserManagementConfig", "IsUserAuthenticationRequired", "NoSuchFunction"})
        EXPECT_FALSE(ModuleRequestRecord("UserManagementDp", reading, "", 200, ok, origin)) << reading;
    EXPECT_FALSE(ModuleRequestRecord("LdapDp", "AddUser", "", 200, ok, origin)) << "functions belong to their provider";
}

} // namespace
} // namespace Kyr::WbmHost::Audit

namespace Kyr::WbmHost::Audit {
namespace {

TEST(AccessRecords, LoginAttemptsNameTheirTargetButNeverThePassword) {
    struct Case {
        bool success;
        std::string name, password;
        const char* eventId;
        std::string user, target;
    };
    const Case cases[] = {
        {true, "admin", "Admin-Pw-1", Events::LoginSucceeded, "admin", "admin"},
        {false, "admin", "wrong", Events::LoginFailed, "", "admin"},
        {false, "Typed-Pw-2", "Typed-Pw-2", Events::LoginFailed, "", "***"},
        {false, "evil\"\n name", "x", Events::LoginFailed, "", "evil\"\\n name"},
        {false, std::string(100, 'n'), "x", Events::LoginFailed, "", std::string(64, 'n') + "..."},
    };
    for (const Case& item : cases) {
        const auto record = LoginRecord(item.success, item.name, item.password, "wrong user name or password", "::1");
        EXPECT_EQ(record.eventId, item.eventId) << item.name;
        EXPECT_EQ(record.outcome, item.success ? AuditOutcome::Success : AuditOutcome::Failure);
        EXPECT_EQ(record.user, item.user) << item.name;
        EXPECT_EQ(record.target, item.target) << item.name;
        EXPECT_EQ(record.source, "::1");
        EXPECT_EQ(record.detail, "wrong user name or password");
    }
}

} // namespace
} // namespace Kyr::WbmHost::Audit
