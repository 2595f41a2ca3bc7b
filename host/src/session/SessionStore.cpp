#include "session/SessionStore.h"

#include <algorithm>
#include <utility>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "session/RandomToken.h"

namespace Kyr::WbmHost {

namespace Events = Kyr::PlatformServices::AuditEvents;

SessionStore::SessionStore(std::chrono::minutes idleTimeout, NowFunction now)
    : now(std::move(now)), idleTimeout(idleTimeout) {}

void SessionStore::SetEndListener(EndListener newListener) {
    std::lock_guard<std::mutex> lock(mutex);
    listener = std::move(newListener);
}

const char* SessionStore::EndReason(const Entry& entry, SteadyClock::time_point at) const {
    if (idleTimeout.count() > 0 && at - entry.lastUse >= idleTimeout) return Events::EndedIdle;
    if (maxSessionTime.count() > 0 && at - entry.created >= maxSessionTime) return Events::EndedMaximumTime;
    return nullptr;
}

void SessionStore::PruneLocked(SteadyClock::time_point at, Ended& ended) {
    for (auto it = sessions.begin(); it != sessions.end();) {
        if (const char* reason = EndReason(it->second, at)) {
            ended.emplace_back(it->second.userName, reason);
            it = sessions.erase(it);
        } else {
            ++it;
        }
    }
}

void SessionStore::Report(const Ended& ended) const {
    EndListener current;
    {
        std::lock_guard<std::mutex> lock(mutex);
        current = listener;
    }
    if (current)
        for (const auto& [user, reason] : ended) current(user, reason);
}

std::int64_t SessionStore::WallMs(SteadyClock::time_point at) const {
    // The steady clock keeps the limits right; the wall clock only shows the times.
    const auto wall = std::chrono::system_clock::now() - std::chrono::duration_cast<std::chrono::system_clock::duration>(now() - at);
    return std::chrono::duration_cast<std::chrono::milliseconds>(wall.time_since_epoch()).count();
}

SessionInfo SessionStore::Create(const Kyr::String& userName, std::uint32_t maxConcurrentSessions, const Kyr::String& sourceAddress) {
    SessionInfo info{RandomHexToken(), userName, RandomHexToken(), RandomHexToken().substr(0, 32)};
    Ended ended;
    {
        std::lock_guard<std::mutex> lock(mutex);
        const auto at = now();
        PruneLocked(at, ended);
        if (maxConcurrentSessions > 0) {
            std::vector<std::pair<std::uint64_t, Kyr::String>> own;
            for (const auto& [id, entry] : sessions)
                if (entry.userName == userName) own.emplace_back(entry.sequence, id);
            std::sort(own.begin(), own.end());
            // Make room for the new session: the oldest sessions of this user end.
            std::size_t surplus = own.size() + 1 > maxConcurrentSessions ? own.size() + 1 - maxConcurrentSessions : 0;
            for (std::size_t i = 0; i < surplus && i < own.size(); ++i) {
                sessions.erase(own[i].second);
                ended.emplace_back(userName, Events::EndedConcurrentLimit);
            }
        }
        sessions[info.id] = Entry{userName, info.csrfToken, info.handle, sourceAddress, at, at, WallMs(at), nextSequence++};
    }
    Report(ended);
    return info;
}

std::optional<SessionInfo> SessionStore::Touch(const Kyr::String& id) {
    Ended ended;
    std::optional<SessionInfo> info;
    {
        std::lock_guard<std::mutex> lock(mutex);
        auto it = sessions.find(id);
        if (it == sessions.end()) return std::nullopt;
        const auto at = now();
        if (const char* reason = EndReason(it->second, at)) {
            ended.emplace_back(it->second.userName, reason);
            sessions.erase(it);
        } else {
            it->second.lastUse = at;
            info = SessionInfo{id, it->second.userName, it->second.csrfToken, it->second.handle};
        }
    }
    Report(ended);
    return info;
}

std::optional<SessionInfo> SessionStore::Find(const Kyr::String& id) const {
    std::lock_guard<std::mutex> lock(mutex);
    auto it = sessions.find(id);
    if (it == sessions.end() || EndReason(it->second, now())) return std::nullopt;
    return SessionInfo{id, it->second.userName, it->second.csrfToken, it->second.handle};
}

void SessionStore::End(const Kyr::String& id) {
    std::lock_guard<std::mutex> lock(mutex);
    sessions.erase(id);
}

bool SessionStore::EndByHandle(const Kyr::String& handle) {
    std::lock_guard<std::mutex> lock(mutex);
    auto it = std::find_if(sessions.begin(), sessions.end(), [&](const auto& item) { return item.second.handle == handle; });
    if (it == sessions.end()) return false;
    sessions.erase(it);
    return true;
}

void SessionStore::EndSessionsOfUser(const Kyr::String& userName, const char* reason) {
    Ended ended;
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (auto it = sessions.begin(); it != sessions.end();) {
            if (it->second.userName == userName) {
                ended.emplace_back(userName, reason);
                it = sessions.erase(it);
            } else {
                ++it;
            }
        }
    }
    Report(ended);
}

void SessionStore::EndAll(const char* reason) {
    Ended ended;
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (const auto& item : sessions) ended.emplace_back(item.second.userName, reason);
        sessions.clear();
    }
    Report(ended);
}

void SessionStore::SetMaxSessionTime(std::chrono::minutes value) {
    std::lock_guard<std::mutex> lock(mutex);
    maxSessionTime = value;
}

std::size_t SessionStore::CountLiveSessions(const Kyr::String& userName) const {
    std::lock_guard<std::mutex> lock(mutex);
    const auto at = now();
    return static_cast<std::size_t>(std::count_if(sessions.begin(), sessions.end(), [&](const auto& item) {
        return item.second.userName == userName && !EndReason(item.second, at);
    }));
}

std::vector<SessionView> SessionStore::List(const Kyr::String& ownId) const {
    std::vector<std::pair<std::uint64_t, SessionView>> live;
    {
        std::lock_guard<std::mutex> lock(mutex);
        const auto at = now();
        for (const auto& [id, entry] : sessions) {
            if (EndReason(entry, at)) continue;
            SessionView view{entry.handle, entry.userName, entry.sourceAddress, entry.createdMs, WallMs(entry.lastUse), 0, id == ownId};
            std::int64_t expires = 0;
            if (idleTimeout.count() > 0) expires = WallMs(entry.lastUse + idleTimeout);
            if (maxSessionTime.count() > 0) {
                const std::int64_t byAge = WallMs(entry.created + maxSessionTime);
                expires = expires == 0 ? byAge : std::min(expires, byAge);
            }
            view.expiresMs = expires;
            live.emplace_back(entry.sequence, std::move(view));
        }
    }
    std::sort(live.begin(), live.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<SessionView> views;
    for (auto& item : live) views.push_back(std::move(item.second));
    return views;
}

std::optional<Kyr::String> SessionStore::UserOfHandle(const Kyr::String& handle) const {
    std::lock_guard<std::mutex> lock(mutex);
    for (const auto& item : sessions)
        if (item.second.handle == handle && !EndReason(item.second, now())) return item.second.userName;
    return std::nullopt;
}

std::optional<Kyr::String> SessionStore::FindUserOfSession(const Kyr::String& sessionId) const {
    auto session = Find(sessionId);
    if (!session) return std::nullopt;
    return session->userName;
}

} // namespace Kyr::WbmHost
