#pragma once
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "SessionStore.h"

namespace Kyr::WbmHost {

struct ThrottlePolicy {
    std::uint32_t initialSeconds = 0;
    std::uint32_t incrementSeconds = 0;
    std::uint32_t maximumSeconds = 0;
};

// Waits after failed logins, per user name as typed (known or not, so that waits do not reveal
// which names exist). The n-th failure in a row makes the name wait
// min(initial + (n-1) * increment, maximum) seconds. A success forgets the failures, and so does a
// quiet quarter of an hour after the last wait ended. Thread-safe.
class LoginThrottle {
public:
    explicit LoginThrottle(NowFunction now = SteadyClock::now);

    // Whole seconds (rounded up) until `userName` may try again, or nothing when it may try now.
    std::optional<std::chrono::seconds> RemainingWait(const Kyr::String& userName);
    // Records a failure; answers the wait it starts (zero for none).
    std::chrono::seconds RecordFailure(const Kyr::String& userName, const ThrottlePolicy& policy);
    void RecordSuccess(const Kyr::String& userName);

private:
    struct Entry {
        std::uint32_t failures = 0;
        SteadyClock::time_point waitUntil;
    };
    void PruneLocked(SteadyClock::time_point now);

    NowFunction now;
    std::mutex mutex;
    std::unordered_map<Kyr::String, Entry> entries;
};

} // namespace Kyr::WbmHost
