#include "LoginThrottle.h"

#include <algorithm>
#include <utility>

namespace Kyr::WbmHost {

namespace {
constexpr std::chrono::minutes forgetAfterQuiet{15};
// An attempt whose outcome never came (its request failed) stops blocking the name after this.
constexpr std::chrono::seconds attemptLimit{30};
} // namespace

LoginThrottle::LoginThrottle(NowFunction now) : now(std::move(now)) {}

bool LoginThrottle::AttemptUnderWay(const Entry& entry, SteadyClock::time_point at) const {
    return entry.attemptStarted && at - *entry.attemptStarted < attemptLimit;
}

void LoginThrottle::PruneLocked(SteadyClock::time_point at) {
    for (auto it = entries.begin(); it != entries.end();) {
        if (at - it->second.waitUntil > forgetAfterQuiet && !AttemptUnderWay(it->second, at))
            it = entries.erase(it);
        else
            ++it;
    }
}

namespace {
bool Spared(const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy, bool isAdministrator) {
    return isAdministrator && !policy.issueTimeoutToAdminUsers;
}
} // namespace

std::optional<std::chrono::seconds> LoginThrottle::BeginAttempt(
    const Kyr::String& userName, const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy,
    bool isAdministrator) {
    if (Spared(policy, isAdministrator)) return std::nullopt;
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    PruneLocked(at);
    Entry& entry = entries[userName];
    if (AttemptUnderWay(entry, at)) return std::chrono::seconds(1);
    if (at < entry.waitUntil) {
        auto left = std::chrono::ceil<std::chrono::seconds>(entry.waitUntil - at);
        return std::max(left, std::chrono::seconds(1));
    }
    entry.attemptStarted = at;
    return std::nullopt;
}

std::chrono::seconds LoginThrottle::RecordFailure(const Kyr::String& userName,
                                                  const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy,
                                                  bool isAdministrator) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    Entry& entry = entries[userName];
    entry.attemptStarted.reset();
    if (Spared(policy, isAdministrator)) return std::chrono::seconds(0);
    if (entry.failures < UINT32_MAX) ++entry.failures;
    std::uint64_t wait = policy.timeoutInitialSeconds + std::uint64_t(entry.failures - 1) * policy.timeoutIncrementSeconds;
    wait = std::min<std::uint64_t>(wait, policy.timeoutMaximumSeconds);
    entry.waitUntil = at + std::chrono::seconds(wait);
    return std::chrono::seconds(wait);
}

void LoginThrottle::RecordSuccess(const Kyr::String& userName) {
    std::lock_guard<std::mutex> lock(mutex);
    entries.erase(userName);
}

} // namespace Kyr::WbmHost
