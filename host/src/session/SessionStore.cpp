#include "session/SessionStore.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "session/RandomToken.h"

namespace Kyr::WbmHost {

SessionStore::SessionStore(std::chrono::minutes idleTimeout, NowFunction now)
    : now(std::move(now)), idleTimeout(idleTimeout) {}

bool SessionStore::IsLive(const Entry& entry, SteadyClock::time_point at) const {
    if (idleTimeout.count() > 0 && at - entry.lastUse >= idleTimeout) return false;
    if (maxSessionTime.count() > 0 && at - entry.created >= maxSessionTime) return false;
    return true;
}

void SessionStore::PruneLocked(SteadyClock::time_point at) {
    for (auto it = sessions.begin(); it != sessions.end();) {
        if (IsLive(it->second, at))
            ++it;
        else
            it = sessions.erase(it);
    }
}

SessionInfo SessionStore::Create(const Kyr::String& userName, std::uint32_t maxConcurrentSessions) {
    SessionInfo info{RandomHexToken(), userName, RandomHexToken()};
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    PruneLocked(at);
    if (maxConcurrentSessions > 0) {
        std::vector<std::pair<std::uint64_t, Kyr::String>> own;
        for (const auto& [id, entry] : sessions)
            if (entry.userName == userName) own.emplace_back(entry.sequence, id);
        std::sort(own.begin(), own.end());
        // Make room for the new session: the oldest sessions of this user end.
        std::size_t surplus = own.size() + 1 > maxConcurrentSessions ? own.size() + 1 - maxConcurrentSessions : 0;
        for (std::size_t i = 0; i < surplus && i < own.size(); ++i) sessions.erase(own[i].second);
    }
    sessions[info.id] = Entry{userName, info.csrfToken, at, at, nextSequence++};
    return info;
}

std::optional<SessionInfo> SessionStore::Touch(const Kyr::String& id) {
    std::lock_guard<std::mutex> lock(mutex);
    auto it = sessions.find(id);
    if (it == sessions.end()) return std::nullopt;
    const auto at = now();
    if (!IsLive(it->second, at)) {
        sessions.erase(it);
        return std::nullopt;
    }
    it->second.lastUse = at;
    return SessionInfo{id, it->second.userName, it->second.csrfToken};
}

std::optional<SessionInfo> SessionStore::Find(const Kyr::String& id) const {
    std::lock_guard<std::mutex> lock(mutex);
    auto it = sessions.find(id);
    if (it == sessions.end() || !IsLive(it->second, now())) return std::nullopt;
    return SessionInfo{id, it->second.userName, it->second.csrfToken};
}

void SessionStore::End(const Kyr::String& id) {
    std::lock_guard<std::mutex> lock(mutex);
    sessions.erase(id);
}

void SessionStore::EndSessionsOfUser(const Kyr::String& userName) {
    std::lock_guard<std::mutex> lock(mutex);
    for (auto it = sessions.begin(); it != sessions.end();) {
        if (it->second.userName == userName)
            it = sessions.erase(it);
        else
            ++it;
    }
}

void SessionStore::EndAll() {
    std::lock_guard<std::mutex> lock(mutex);
    sessions.clear();
}

void SessionStore::SetMaxSessionTime(std::chrono::minutes value) {
    std::lock_guard<std::mutex> lock(mutex);
    maxSessionTime = value;
}

std::size_t SessionStore::CountLiveSessions(const Kyr::String& userName) const {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    return static_cast<std::size_t>(std::count_if(sessions.begin(), sessions.end(), [&](const auto& item) {
        return item.second.userName == userName && IsLive(item.second, at);
    }));
}

std::optional<Kyr::String> SessionStore::FindUserOfSession(const Kyr::String& sessionId) const {
    auto session = Find(sessionId);
    if (!session) return std::nullopt;
    return session->userName;
}

} // namespace Kyr::WbmHost
