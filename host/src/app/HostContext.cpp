#include "app/HostContext.h"

#include <algorithm>
#include <cctype>

namespace Kyr::WbmHost {

std::optional<Kyr::String> HostContext::SessionCookie(const HttpRequest& request) {
    for (const Kyr::String& header : request.HeaderValues("Cookie")) {
        std::size_t start = 0;
        while (start < header.size()) {
            std::size_t end = header.find(';', start);
            if (end == Kyr::String::npos) end = header.size();
            Kyr::String pair = header.substr(start, end - start);
            start = end + 1;
            auto first = pair.find_first_not_of(' ');
            if (first == Kyr::String::npos) continue;
            pair = pair.substr(first);
            const Kyr::String prefix = Kyr::String(SessionCookieName) + "=";
            if (pair.rfind(prefix, 0) != 0) continue;
            Kyr::String value = pair.substr(prefix.size());
            while (!value.empty() && value.back() == ' ') value.pop_back();
            // Session ids are 64 hex digits; anything else is no session.
            if (value.size() == 64 && std::all_of(value.begin(), value.end(), [](unsigned char c) { return std::isxdigit(c); }))
                return value;
        }
    }
    return std::nullopt;
}

Kyr::String HostContext::SessionCookieHeader(const Kyr::String& sessionId, bool secure) {
    return Kyr::String(SessionCookieName) + "=" + sessionId + "; HttpOnly; SameSite=Strict; Path=/" + (secure ? "; Secure" : "");
}

Kyr::String HostContext::ClearedSessionCookieHeader(bool secure) {
    return Kyr::String(SessionCookieName) + "=; HttpOnly; SameSite=Strict; Path=/; Max-Age=0" + (secure ? "; Secure" : "");
}

bool HostContext::HasLiveSession(const HttpRequest& request) const {
    auto id = SessionCookie(request);
    return id && sessions.Find(*id).has_value();
}

bool HostContext::SecondFactorEnrolmentRequired(const Kyr::String& userName) {
    auto& factors = services.GetSecondFactors();
    const auto policy = factors.GetPolicy();
    if (policy == Kyr::PlatformServices::SecondFactorPolicy::Off) return false; // the usual case: one read
    return Kyr::PlatformServices::SecondFactorRequired(policy, services.IsAdministrator(userName)) && !factors.IsEnrolled(userName);
}

Caller HostContext::ResolveCaller(const HttpRequest& request) {
    Caller caller;
    auto id = SessionCookie(request);
    if (!id) return caller;
    // The maximum session time follows the current policy, also for sessions started before a change.
    sessions.SetMaxSessionTime(std::chrono::minutes(services.GetSessionPolicy().maxSessionTimeMinutes));
    auto session = sessions.Touch(*id);
    if (!session) return caller;
    if (!services.UserExists(session->userName)) {
        sessions.End(session->id);
        return caller;
    }
    caller.passwordChangeRequired = services.IsPasswordChangeRequired(session->userName);
    caller.secondFactorEnrolmentRequired = SecondFactorEnrolmentRequired(session->userName);
    caller.session = std::move(session);
    return caller;
}

} // namespace Kyr::WbmHost
