#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

using SteadyClock = std::chrono::steady_clock;
using NowFunction = std::function<SteadyClock::time_point()>;

struct SessionInfo {
    Kyr::String id;
    Kyr::String userName;
    Kyr::String csrfToken;
    Kyr::String handle; // names the session in the API; the id itself never leaves the host
};

// A live session as administrators see it.
struct SessionView {
    Kyr::String handle;
    Kyr::String userName;
    Kyr::String sourceAddress;
    std::int64_t loginTimeMs = 0;    // UTC milliseconds since 1970
    std::int64_t lastActivityMs = 0;
    std::int64_t expiresMs = 0;      // when it ends unless used again (0: never)
    bool own = false;                // the caller's own session
};

// The live login sessions of the host. A session ends when it is ended explicitly, when it has been
// idle longer than the idle timeout, when it is older than the maximum session time, or when a newer
// login of the same user pushes it out. Zero durations mean "no limit". Every end that the store
// decides or is told of reaches the listener with its reason (the audit trail), outside the store's
// lock. Thread-safe.
class SessionStore : public Kyr::PlatformServices::SessionDirectory {
public:
    // user, reason (AuditEvents' Ended... names)
    using EndListener = std::function<void(const Kyr::String& userName, const char* reason)>;

    explicit SessionStore(std::chrono::minutes idleTimeout, NowFunction now = SteadyClock::now);
    void SetEndListener(EndListener listener);

    // Starts a session for `userName` from `sourceAddress`; when the user already holds
    // `maxConcurrentSessions` live sessions (0: no limit), the oldest ones end first.
    SessionInfo Create(const Kyr::String& userName, std::uint32_t maxConcurrentSessions, const Kyr::String& sourceAddress = "");
    // The live session `id`, counting this as activity.
    std::optional<SessionInfo> Touch(const Kyr::String& id);
    // The live session `id`, without counting activity.
    std::optional<SessionInfo> Find(const Kyr::String& id) const;
    // Ends session `id` (a logout: no reason is reported).
    void End(const Kyr::String& id);
    // Ends the session named by `handle` (the caller records why); false when there is none.
    bool EndByHandle(const Kyr::String& handle);
    void EndAll(const char* reason);
    // The session policy's maximum session time; applies to existing sessions too.
    void SetMaxSessionTime(std::chrono::minutes maxSessionTime);
    std::size_t CountLiveSessions(const Kyr::String& userName) const;
    // The live sessions, oldest first; `ownId` marks the caller's own.
    std::vector<SessionView> List(const Kyr::String& ownId) const;
    // The user of the live session named by `handle`.
    std::optional<Kyr::String> UserOfHandle(const Kyr::String& handle) const;

    std::optional<Kyr::String> FindUserOfSession(const Kyr::String& sessionId) const override;
    void EndSessionsOfUser(const Kyr::String& userName, const char* reason) override;

private:
    struct Entry {
        Kyr::String userName;
        Kyr::String csrfToken;
        Kyr::String handle;
        Kyr::String sourceAddress;
        SteadyClock::time_point created;
        SteadyClock::time_point lastUse;
        std::int64_t createdMs = 0;
        std::uint64_t sequence = 0;
    };
    using Ended = std::vector<std::pair<Kyr::String, const char*>>;
    const char* EndReason(const Entry& entry, SteadyClock::time_point now) const; // nullptr: live
    void PruneLocked(SteadyClock::time_point now, Ended& ended);
    void Report(const Ended& ended) const;
    std::int64_t WallMs(SteadyClock::time_point at) const;

    NowFunction now;
    std::chrono::minutes idleTimeout;
    mutable std::mutex mutex;
    std::chrono::minutes maxSessionTime{0};
    std::uint64_t nextSequence = 1;
    std::unordered_map<Kyr::String, Entry> sessions;
    EndListener listener;
};

} // namespace Kyr::WbmHost
