#pragma once
#include <cstddef>
#include <optional>

#include <mutex>

#include "app/HostOptions.h"
#include "bridge/ModuleRegistry.h"
#include "http/HttpMessage.h"
#include "Kyr/PlatformServices/PlatformServices.h"
#include "secondfactor/LoginChallenges.h"
#include "secondfactor/PendingEnrolments.h"
#include "session/LoginThrottle.h"
#include "session/SessionStore.h"

namespace Kyr::WbmHost {

// Who is calling: the live session (if any) and whether it must change its password or set up a
// second factor before anything else.
struct Caller {
    std::optional<SessionInfo> session;
    bool passwordChangeRequired = false;
    bool secondFactorEnrolmentRequired = false;
};

inline constexpr const char* SessionCookieName = "session";

// What the HTTP routes share: the services, the sessions, the login waits and the module's registry.
class HostContext {
public:
    HostContext(Kyr::PlatformServices::PlatformServices& services, SessionStore& sessions, LoginThrottle& throttle,
                ModuleRegistry& registry, const HostOptions& options)
        : services(services), sessions(sessions), throttle(throttle), registry(registry), options(options) {}

    // The caller of `request`; a live session counts as used. A session whose user no longer exists ends.
    Caller ResolveCaller(const HttpRequest& request);
    // Whether `request` carries the cookie of a live session (without counting it as use).
    bool HasLiveSession(const HttpRequest& request) const;
    // The session id of the request's cookie, when it has the form of one.
    static std::optional<Kyr::String> SessionCookie(const HttpRequest& request);
    // Marked Secure when the request came over TLS, so that the browser never sends it in clear.
    static Kyr::String SessionCookieHeader(const Kyr::String& sessionId, bool secure);
    static Kyr::String ClearedSessionCookieHeader(bool secure);
    // Whether the policy requires a second factor of `userName`, who has none yet.
    bool SecondFactorEnrolmentRequired(const Kyr::String& userName);

    Kyr::PlatformServices::PlatformServices& services;
    SessionStore& sessions;
    LoginThrottle& throttle;
    ModuleRegistry& registry;
    const HostOptions& options;
    // The module passes every LDAP upload through one temporary file: uploads run one at a time.
    std::mutex ldapUploads;
    // Logins waiting for their second factor, and secrets shown for enrolment but not yet confirmed.
    LoginChallenges loginChallenges;
    PendingEnrolments pendingEnrolments;
};

} // namespace Kyr::WbmHost
