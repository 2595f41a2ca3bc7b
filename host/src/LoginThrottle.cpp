#include "LoginThrottle.h"

#include <algorithm>
#include <utility>

namespace Kyr::WbmHost {

namespace {
constexpr std::chrono::minutes forgetAfterQuiet{15};
}

LoginThrottle::LoginThrottle(NowFunction now) : now(std::move(now)) {}

void LoginThrottle::PruneLocked(SteadyClock::time_point at) {
    for (auto it = entries.begin(); it != entries.end();) {
        if (at - it->second.waitUntil > forgetAfterQuiet)
            it = entries.erase(it);
        else
            ++it;
    }
}

std::optional<std::chrono::seconds> LoginThrottle::RemainingWait(const Kyr::String& userName) {
    std::lock_guard<std::mutex> lock(mutex);
    auto it = entries.find(userName);
    if (it == entries.end()) return std::nullopt;
    const auto at = now();
    if (at >= it->second.waitUntil) return std::nullopt;
    auto left = std::chrono::ceil<std::chrono::seconds>(it->second.waitUntil - at);
    return std::max(left, std::chrono::seconds(1));
}

std::chrono::seconds LoginThrottle::RecordFailure(const Kyr::String& userName, const ThrottlePolicy& policy) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    PruneLocked(at);
    Entry& entry = entries[userName];
    if (entry.failures < UINT32_MAX) ++entry.failures;
    std::uint64_t wait = policy.initialSeconds + std::uint64_t(entry.failures - 1) * policy.incrementSeconds;
    wait = std::min<std::uint64_t>(wait, policy.maximumSeconds);
    entry.waitUntil = at + std::chrono::seconds(wait);
    return std::chrono::seconds(wait);
}

void LoginThrottle::RecordSuccess(const Kyr::String& userName) {
    std::lock_guard<std::mutex> lock(mutex);
    entries.erase(userName);
}

} // namespace Kyr::WbmHost
