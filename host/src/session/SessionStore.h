#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

using SteadyClock = std::chrono::steady_clock;
using NowFunction = std::function<SteadyClock::time_point()>;

struct SessionInfo {
    Kyr::String id;
    Kyr::String userName;
    Kyr::String csrfToken;
};

// The live login sessions of the host. A session ends when it is ended explicitly, when it has been
// idle longer than the idle timeout, when it is older than the maximum session time, or when a newer
// login of the same user pushes it out. Zero durations mean "no limit". Thread-safe.
class SessionStore : public Kyr::PlatformServices::SessionDirectory {
public:
    explicit SessionStore(std::chrono::minutes idleTimeout, NowFunction now = SteadyClock::now);

    // Starts a session for `userName`; when the user already holds `maxConcurrentSessions` live
    // sessions (0: no limit), the oldest ones end first.
    SessionInfo Create(const Kyr::String& userName, std::uint32_t maxConcurrentSessions);
    // The live session `id`, counting this as activity.
    std::optional<SessionInfo> Touch(const Kyr::String& id);
    // The live session `id`, without counting activity.
    std::optional<SessionInfo> Find(const Kyr::String& id) const;
    void End(const Kyr::String& id);
    void EndAll();
    // The session policy's maximum session time; applies to existing sessions too.
    void SetMaxSessionTime(std::chrono::minutes maxSessionTime);
    std::size_t CountLiveSessions(const Kyr::String& userName) const;

    std::optional<Kyr::String> FindUserOfSession(const Kyr::String& sessionId) const override;
    void EndSessionsOfUser(const Kyr::String& userName) override;

private:
    struct Entry {
        Kyr::String userName;
        Kyr::String csrfToken;
        SteadyClock::time_point created;
        SteadyClock::time_point lastUse;
        std::uint64_t sequence = 0;
    };
    bool IsLive(const Entry& entry, SteadyClock::time_point now) const;
    void PruneLocked(SteadyClock::time_point now);

    NowFunction now;
    std::chrono::minutes idleTimeout;
    mutable std::mutex mutex;
    std::chrono::minutes maxSessionTime{0};
    std::uint64_t nextSequence = 1;
    std::unordered_map<Kyr::String, Entry> sessions;
};

} // namespace Kyr::WbmHost
