#pragma once
#include <cstddef>
#include <optional>

#include <httplib.h>

#include "HostOptions.h"
#include "Kyr/PlatformServices/PlatformServices.h"
#include "LoginThrottle.h"
#include "ModuleRegistry.h"
#include "SessionStore.h"

namespace Kyr::WbmHost {

struct HttpLimits {
    std::size_t bodyWithoutSession = 4 * 1024;
    std::size_t bodyWithSession = 1024 * 1024;
    std::size_t headers = 8 * 1024;
    std::chrono::seconds bodyTime{30}; // to receive a whole request body
};

// Who is calling: the live session (if any) and whether it must change its password first.
struct Caller {
    std::optional<SessionInfo> session;
    bool passwordChangeRequired = false;
};

inline constexpr const char* SessionCookieName = "session";

// What the HTTP routes share: the services, the sessions, the login waits and the module's registry.
class HostContext {
public:
    HostContext(Kyr::PlatformServices::PlatformServices& services, SessionStore& sessions, LoginThrottle& throttle,
                ModuleRegistry& registry, const HostOptions& options)
        : services(services), sessions(sessions), throttle(throttle), registry(registry), options(options) {}

    // The caller of `request`; a live session counts as used. A session whose user no longer exists ends.
    Caller ResolveCaller(const httplib::Request& request);
    // Whether `request` carries the cookie of a live session (without counting it as use).
    bool HasLiveSession(const httplib::Request& request) const;
    // The session id of the request's cookie, when it has the form of one.
    static std::optional<Kyr::String> SessionCookie(const httplib::Request& request);
    static Kyr::String SessionCookieHeader(const Kyr::String& sessionId);
    static Kyr::String ClearedSessionCookieHeader();

    Kyr::PlatformServices::PlatformServices& services;
    SessionStore& sessions;
    LoginThrottle& throttle;
    ModuleRegistry& registry;
    const HostOptions& options;
    const HttpLimits limits;
};

} // namespace Kyr::WbmHost
