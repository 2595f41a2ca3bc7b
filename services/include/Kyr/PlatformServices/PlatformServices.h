#pragma once
// The real platform services and what the host needs of them beyond the platform interfaces.
// The host creates one PlatformServices at start, registers its services with the ServiceManager,
// and asks it to check logins. The services ask the host (SessionDirectory) who owns a session.
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Kyr/PlatformServices/Audit.h"
#include "Kyr/PlatformServices/SecondFactors.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::PlatformServices {

using Kyr::String;

// Implemented by the host's session manager.
class SessionDirectory {
public:
    virtual ~SessionDirectory() = default;
    // The user name owning the live session `sessionId`, or nothing for an unknown or ended session.
    virtual std::optional<String> FindUserOfSession(const String& sessionId) const = 0;
    // Ends every session of `userName`: the user was removed, or an administrator set the user's
    // password or changed its roles (the user logs in again).
    // `reason`: AuditEvents::EndedUserRemoved or EndedUserChanged, for the audit record.
    virtual void EndSessionsOfUser(const String& userName, const char* reason) = 0;
};

// Implemented by the host's login waits. A wrong current password in a password change counts like a
// failed login of that user, and during the user's wait no password of it is checked at all.
class PasswordAttempts {
public:
    virtual ~PasswordAttempts() = default;
    // Nothing when a password of `userName` may be checked now (the attempt is then under way until
    // its outcome is recorded, and further attempts wait for it); otherwise the seconds to wait. An
    // administrator whom the policy spares never waits.
    virtual std::optional<std::chrono::seconds> BeginAttempt(
        const String& userName, const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy,
        bool isAdministrator) = 0;
    // Records a wrong password; answers the wait it starts (zero: none).
    virtual std::chrono::seconds RecordFailure(const String& userName,
                                               const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy,
                                               bool isAdministrator) = 0;
    virtual void RecordSuccess(const String& userName) = 0;
};

struct ServicesOptions {
    String dataDirectory;                     // created if missing; holds the database and files
    unsigned long long hashOpsLimit = 2;      // Argon2id cost (crypto_pwhash opslimit)
    std::size_t hashMemLimit = 64u << 20;     // Argon2id memory in bytes (crypto_pwhash memlimit)
    bool authenticationDeactivatable = false; // whether "authentication required" may be switched off
    String initialAdminPassword;              // empty: generate one on first start
    // The services' notion of "now" (password ages, change intervals); empty: the system clock.
    // Tests inject a controllable clock here.
    std::function<std::chrono::system_clock::time_point()> clock;
    // The host's login waits, which must outlive the services; none: password changes do not wait.
    PasswordAttempts* passwordAttempts = nullptr;
    // The audit trail's bound, fail-closed switch and syslog collector.
    AuditOptions audit;
};

enum class LoginOutcome {
    Success,
    WrongCredentials, // unknown user or wrong password (never told apart to the client)
    Locked,           // password expired while the ruleset locks expired users
};

struct LoginCheck {
    LoginOutcome outcome = LoginOutcome::WrongCredentials;
    bool isAdministrator = false;        // holds the role "Admin"
    bool passwordChangeRequired = false; // initial password unchanged or password expired
    bool directoryUser = false;          // logged in through the directory (no local password)
};

// The directory as seen at the last login or connection test.
struct DirectoryStatus {
    bool enabled = false;      // directory login switched on
    bool attempted = false;    // the directory was asked since the start
    bool reached = false;      // the last attempt reached a server (and secured the connection)
    std::int64_t lastAttemptUnixSeconds = 0;
    String server;             // the server of the last attempt's answer or failure
    String lastError;          // empty when the last attempt had none; never holds a password
};

// One step of a connection test, in order: "connect", "tls", "serviceBind", "userSearch", "userBind",
// "groups", "roles".
struct DirectoryTestStep {
    String name;
    bool succeeded = false;
    String detail; // what was found (certificate subject, DN, groups, roles) or what failed and what to do
};

struct DirectoryTestResult {
    bool succeeded = false;           // every step that was tried succeeded
    String server;                    // the server the steps ran against (the last one tried on failure)
    std::vector<DirectoryTestStep> steps; // the steps tried; a failed one is the last
};

class PlatformServices {
public:
    virtual ~PlatformServices() = default;

    // Opens (or creates on first start) the data directory and database. `restartRequest` is called
    // by the device control service's RestartDevice; the host restarts after answering.
    static std::unique_ptr<PlatformServices> Open(const ServicesOptions& options, SessionDirectory& sessions,
                                                  std::function<void()> restartRequest);

    // Publishes the six services with the platform's ServiceManager under their factories' names.
    virtual void RegisterServices() = 0;
    virtual void UnregisterServices() = 0;

    // The administrator password generated or set on this start when the database was created;
    // nothing when the database already existed.
    virtual std::optional<String> GetInitialAdminPassword() const = 0;

    // Checks a login; constant time in whether a local user exists (a dummy hash is verified otherwise).
    // A name that is not a local user is looked up in the directory when directory login is on; the
    // roles it maps to are kept in memory until its next login, for the checks below and for the
    // authorization service.
    virtual LoginCheck CheckLogin(const String& userName, const String& password) = 0;
    virtual bool IsAdministrator(const String& userName) = 0;
    virtual bool IsPasswordChangeRequired(const String& userName) = 0;
    virtual bool UserExists(const String& userName) = 0; // a local user, or a directory user holding roles
    // Not a local user, but logged in through the directory (holding the roles of its last login).
    virtual bool IsDirectoryUser(const String& userName) = 0;
    virtual bool IsAuthenticationRequired() = 0;
    virtual Kyr::System::Um::Services::Internal::SessionPolicyParameter GetSessionPolicy() = 0;

    // Stores an audit record in one transaction (time 0: now; empty category: the catalogue's), appends
    // its escaped line to the security log and queues it for the syslog collector. False when it could
    // not be stored (the failure is logged); the record is then still logged and forwarded.
    virtual bool RecordAudit(const AuditRecord& record) = 0;
    // Records matching the query, one page; throws std::runtime_error when the database fails.
    virtual AuditPage QueryAudit(const AuditQuery& query) = 0;
    virtual AuditStatus GetAuditStatus() = 0;
    // True while changing requests must be refused: the audit trail is fail-closed and the newest
    // record could not be stored. The next record that is stored ends it.
    virtual bool AuditBlocksChanges() = 0;

    // Directory login: the outcome of the last attempt to reach the directory.
    virtual DirectoryStatus GetDirectoryStatus() = 0;
    // Tries the stored directory configuration step by step, with a user's credentials when given
    // (otherwise only connect, TLS and the service bind). Changes no session and no stored role.
    virtual DirectoryTestResult TestDirectoryConnection(const std::optional<String>& userName,
                                                        const std::optional<String>& password) = 0;
    // Why the calling thread's last SetLdapConfigurationFromFile refused the file ("Line 4, key
    // 'server': ..."); empty after success.
    virtual String GetLdapConfigurationErrorText() = 0;

    // The second factor at login: its policy, the users' secrets and recovery codes.
    virtual SecondFactors& GetSecondFactors() = 0;

};

} // namespace Kyr::PlatformServices
