#include "session/LoginThrottle.h"

#include <sodium.h>

#include <algorithm>
#include <utility>

namespace Kyr::WbmHost {

namespace {
constexpr std::chrono::minutes forgetAfterQuiet{15};
// An attempt whose outcome never came (its request failed) stops blocking the name after this.
constexpr std::chrono::seconds attemptLimit{30};

// A fixed-size key for any name, however long.
std::string NameKey(const Kyr::String& userName) {
    unsigned char digest[16];
    crypto_generichash(digest, sizeof digest, reinterpret_cast<const unsigned char*>(userName.data()), userName.size(), nullptr, 0);
    return std::string(reinterpret_cast<const char*>(digest), sizeof digest);
}

bool Spared(const LoginThrottle::Policy& policy, bool isAdministrator) {
    return isAdministrator && !policy.issueTimeoutToAdminUsers;
}
} // namespace

LoginThrottle::LoginThrottle(NowFunction now, std::size_t maxEntries) : now(std::move(now)), maxEntries(maxEntries) {}

bool LoginThrottle::AttemptUnderWay(const Entry& entry, SteadyClock::time_point at) const {
    return entry.attemptStarted && at - *entry.attemptStarted < attemptLimit;
}

LoginThrottle::Entry& LoginThrottle::EntryFor(Table& table, const std::string& key, SteadyClock::time_point at) {
    auto found = table.find(key);
    if (found != table.end()) return found->second;
    if (table.size() >= maxEntries) {
        for (auto it = table.begin(); it != table.end();) {
            if (at - it->second.waitUntil > forgetAfterQuiet && !AttemptUnderWay(it->second, at))
                it = table.erase(it);
            else
                ++it;
        }
    }
    if (table.size() >= maxEntries) {
        auto oldest = std::min_element(table.begin(), table.end(),
                                       [](const auto& a, const auto& b) { return a.second.waitUntil < b.second.waitUntil; });
        table.erase(oldest);
    }
    return table[key];
}

std::optional<std::chrono::seconds> LoginThrottle::WaitLeft(const Entry& entry, SteadyClock::time_point at) {
    if (at >= entry.waitUntil) return std::nullopt;
    return std::max(std::chrono::ceil<std::chrono::seconds>(entry.waitUntil - at), std::chrono::seconds(1));
}

std::uint64_t LoginThrottle::WaitSeconds(const Policy& policy, std::uint32_t failures) {
    const std::uint64_t wait = policy.timeoutInitialSeconds + std::uint64_t(failures - 1) * policy.timeoutIncrementSeconds;
    return std::min<std::uint64_t>(wait, policy.timeoutMaximumSeconds);
}

std::optional<std::chrono::seconds> LoginThrottle::BeginAttempt(const Kyr::String& userName, const Kyr::String& address,
                                                                const Policy& policy, bool isAdministrator) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    if (!address.empty()) {
        auto fromAddress = addresses.find(address);
        if (fromAddress != addresses.end())
            if (auto wait = WaitLeft(fromAddress->second, at)) return wait;
    }
    if (Spared(policy, isAdministrator)) return std::nullopt;
    Entry& entry = EntryFor(names, NameKey(userName), at);
    if (AttemptUnderWay(entry, at)) return std::chrono::seconds(1);
    if (auto wait = WaitLeft(entry, at)) return wait;
    entry.attemptStarted = at;
    return std::nullopt;
}

std::chrono::seconds LoginThrottle::RecordFailure(const Kyr::String& userName, const Kyr::String& address,
                                                  const Policy& policy, bool isAdministrator) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    std::uint64_t wait = 0;
    if (!address.empty()) {
        Entry& fromAddress = EntryFor(addresses, address, at);
        if (at - fromAddress.waitUntil > forgetAfterQuiet) fromAddress.failures = 0;
        if (fromAddress.failures < UINT32_MAX) ++fromAddress.failures;
        if (fromAddress.failures > AddressFreeFailures) {
            wait = WaitSeconds(policy, fromAddress.failures - AddressFreeFailures);
            fromAddress.waitUntil = at + std::chrono::seconds(wait);
        } else {
            fromAddress.waitUntil = at; // the quiet quarter of an hour counts from the last failure
        }
    }
    Entry& entry = EntryFor(names, NameKey(userName), at);
    entry.attemptStarted.reset();
    if (Spared(policy, isAdministrator)) return std::chrono::seconds(wait);
    if (at - entry.waitUntil > forgetAfterQuiet) entry.failures = 0;
    if (entry.failures < UINT32_MAX) ++entry.failures;
    const std::uint64_t nameWait = WaitSeconds(policy, entry.failures);
    entry.waitUntil = at + std::chrono::seconds(nameWait);
    return std::chrono::seconds(std::max(wait, nameWait));
}

std::optional<std::chrono::seconds> LoginThrottle::BeginAttempt(const Kyr::String& userName, const Policy& policy,
                                                                bool isAdministrator) {
    return BeginAttempt(userName, Kyr::String(), policy, isAdministrator);
}

std::chrono::seconds LoginThrottle::RecordFailure(const Kyr::String& userName, const Policy& policy, bool isAdministrator) {
    return RecordFailure(userName, Kyr::String(), policy, isAdministrator);
}

void LoginThrottle::RecordSuccess(const Kyr::String& userName) {
    std::lock_guard<std::mutex> lock(mutex);
    names.erase(NameKey(userName));
}

void LoginThrottle::EndAttempt(const Kyr::String& userName) {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = names.find(NameKey(userName));
    if (found != names.end()) found->second.attemptStarted.reset();
}

std::size_t LoginThrottle::TrackedNames() const {
    std::lock_guard<std::mutex> lock(mutex);
    return names.size();
}

} // namespace Kyr::WbmHost
