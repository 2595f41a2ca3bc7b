#include "secondfactor/LoginChallenges.h"

#include <algorithm>

#include "session/RandomToken.h"

namespace Kyr::WbmHost {

LoginChallenges::LoginChallenges(NowFunction now, std::size_t maxChallenges)
    : now(std::move(now)), maxChallenges(std::max<std::size_t>(maxChallenges, 1)) {}

void LoginChallenges::PruneLocked(SteadyClock::time_point at) {
    for (auto it = challenges.begin(); it != challenges.end();)
        it = at - it->second.created >= Lifetime ? challenges.erase(it) : std::next(it);
}

Kyr::String LoginChallenges::Create(const LoginChallenge& challenge) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    PruneLocked(at);
    if (challenges.size() >= maxChallenges) {
        auto oldest = std::min_element(challenges.begin(), challenges.end(),
                                       [](const auto& a, const auto& b) { return a.second.created < b.second.created; });
        challenges.erase(oldest);
    }
    Kyr::String id = RandomHexToken(32);
    challenges[id] = Entry{challenge, at, 0};
    return id;
}

std::optional<LoginChallenge> LoginChallenges::Find(const Kyr::String& id, const Kyr::String& address) {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = challenges.find(id);
    if (found == challenges.end()) return std::nullopt;
    if (now() - found->second.created >= Lifetime) {
        challenges.erase(found);
        return std::nullopt;
    }
    if (found->second.challenge.address != address) return std::nullopt;
    return found->second.challenge;
}

void LoginChallenges::RecordWrongCode(const Kyr::String& id) {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = challenges.find(id);
    if (found != challenges.end() && ++found->second.wrongCodes >= MaxWrongCodes) challenges.erase(found);
}

void LoginChallenges::End(const Kyr::String& id) {
    std::lock_guard<std::mutex> lock(mutex);
    challenges.erase(id);
}

} // namespace Kyr::WbmHost
