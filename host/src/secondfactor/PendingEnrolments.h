#pragma once
#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Kyr/System/Commons/String.h"
#include "session/SessionStore.h"

namespace Kyr::WbmHost {

// Secrets shown for enrolment and not yet confirmed with a code, one per session (a new one replaces
// it), in memory only: an unconfirmed secret is never stored. They go when confirmed, after half an
// hour, or, when the table is full, the oldest first. Thread-safe.
class PendingEnrolments {
public:
    static constexpr std::chrono::minutes Lifetime{30};
    static constexpr std::size_t MaxPending = 1000;

    explicit PendingEnrolments(NowFunction now = SteadyClock::now, std::size_t maxPending = MaxPending);

    void Put(const Kyr::String& sessionId, const Kyr::String& secret);
    std::optional<Kyr::String> Find(const Kyr::String& sessionId);
    void Erase(const Kyr::String& sessionId);

private:
    struct Entry {
        Kyr::String secret;
        SteadyClock::time_point created;
    };

    NowFunction now;
    const std::size_t maxPending;
    std::mutex mutex;
    std::unordered_map<Kyr::String, Entry> pending;
};

} // namespace Kyr::WbmHost
