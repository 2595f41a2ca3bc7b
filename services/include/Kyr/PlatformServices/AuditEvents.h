#pragma once
// The catalogue of audit event ids (docs/audit.md lists them with their fields). The ids are stable:
// collectors and exported files filter on them, so an id is never renamed or reused.
#include <optional>
#include <string>
#include <vector>

namespace Kyr::PlatformServices::AuditEvents {

// Categories.
inline constexpr const char* CategoryAccess = "access";               // logins, logouts, sessions
inline constexpr const char* CategoryConfiguration = "configuration"; // changes through the module
inline constexpr const char* CategoryRequest = "request";             // invalid requests
inline constexpr const char* CategorySystem = "system";               // the host's start and stop
inline constexpr const char* CategoryAudit = "audit";                 // the audit trail itself

inline constexpr const char* LoginSucceeded = "session.login.success";
inline constexpr const char* LoginFailed = "session.login.failure";
inline constexpr const char* LoggedOut = "session.logout";
inline constexpr const char* SessionEnded = "session.ended"; // target: the session's user; detail: a reason below

inline constexpr const char* UserAdded = "user.added";
inline constexpr const char* UserRemoved = "user.removed";
inline constexpr const char* UserPasswordSet = "user.password.set";
inline constexpr const char* OwnPasswordChanged = "user.password.changed";
inline constexpr const char* UserConfigChanged = "user.config.changed";
inline constexpr const char* AuthenticationRequiredChanged = "auth.required.changed";
inline constexpr const char* RulesetsChanged = "policy.rulesets.changed";
inline constexpr const char* BlockListChanged = "policy.blocklist.changed";
inline constexpr const char* SessionPolicyChanged = "policy.session.changed";
inline constexpr const char* LdapConfigurationUploaded = "ldap.config.uploaded";
inline constexpr const char* LdapEnabledChanged = "ldap.enabled.changed";
inline constexpr const char* LoginTextChanged = "logintext.changed";
inline constexpr const char* RestartRequested = "system.restart";

// The second factor at login. Never with a secret or a code.
inline constexpr const char* SecondFactorEnrolled = "secondfactor.enrolled";
inline constexpr const char* SecondFactorRemoved = "secondfactor.removed";         // by the user
inline constexpr const char* SecondFactorReset = "secondfactor.reset";             // by an administrator
inline constexpr const char* SecondFactorPolicyChanged = "secondfactor.policy.changed";
inline constexpr const char* RecoveryCodeUsed = "secondfactor.recoverycode.used"; // at login
inline constexpr const char* SecondFactorCodeFailed = "secondfactor.code.failure";

inline constexpr const char* InvalidRequest = "request.invalid";

inline constexpr const char* HostStarted = "host.started";
inline constexpr const char* HostStopped = "host.stopped";

inline constexpr const char* StorageWarning = "audit.storage.warning";
inline constexpr const char* ForwardingResumed = "audit.forwarding.resumed";

// Reasons of SessionEnded, the record's detail.
inline constexpr const char* EndedIdle = "idle";
inline constexpr const char* EndedMaximumTime = "maximum-time";
inline constexpr const char* EndedConcurrentLimit = "concurrent-limit";
inline constexpr const char* EndedUserRemoved = "user-removed";
inline constexpr const char* EndedUserChanged = "user-changed"; // password set by an administrator, other roles
inline constexpr const char* EndedRestart = "restart";
inline constexpr const char* EndedByAdministrator = "administrator";
inline constexpr const char* EndedByUser = "user"; // one of the user's other sessions, ended by the user
inline constexpr const char* EndedSecondFactorReset = "second-factor-reset"; // an administrator reset it

struct EventInfo {
    const char* id;
    const char* category;
};

// Every event id with its category.
const std::vector<EventInfo>& Catalogue();

// The category of an event id; nothing for an id outside the catalogue.
std::optional<std::string> CategoryOf(const std::string& eventId);

// The event id of a module request function that changes something (data provider and function
// name as in the request path); nothing for functions that only read and for unknown names.
std::optional<std::string> EventOfModuleFunction(const std::string& dataProvider, const std::string& function);

} // namespace Kyr::PlatformServices::AuditEvents
