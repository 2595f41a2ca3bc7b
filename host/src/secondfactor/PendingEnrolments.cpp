#include "secondfactor/PendingEnrolments.h"

#include <algorithm>

namespace Kyr::WbmHost {

PendingEnrolments::PendingEnrolments(NowFunction now, std::size_t maxPending)
    : now(std::move(now)), maxPending(std::max<std::size_t>(maxPending, 1)) {}

void PendingEnrolments::Put(const Kyr::String& sessionId, const Kyr::String& secret) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    for (auto it = pending.begin(); it != pending.end();) it = at - it->second.created >= Lifetime ? pending.erase(it) : std::next(it);
    pending.erase(sessionId);
    if (pending.size() >= maxPending) {
        auto oldest = std::min_element(pending.begin(), pending.end(),
                                       [](const auto& a, const auto& b) { return a.second.created < b.second.created; });
        pending.erase(oldest);
    }
    pending[sessionId] = Entry{secret, at};
}

std::optional<Kyr::String> PendingEnrolments::Find(const Kyr::String& sessionId) {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = pending.find(sessionId);
    if (found == pending.end()) return std::nullopt;
    if (now() - found->second.created >= Lifetime) {
        pending.erase(found);
        return std::nullopt;
    }
    return found->second.secret;
}

void PendingEnrolments::Erase(const Kyr::String& sessionId) {
    std::lock_guard<std::mutex> lock(mutex);
    pending.erase(sessionId);
}

} // namespace Kyr::WbmHost
