#pragma once
#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Kyr/System/Commons/String.h"
#include "session/SessionStore.h"

namespace Kyr::WbmHost {

// What the password step of a login found out, for the code step that completes it.
struct LoginChallenge {
    Kyr::String userName;
    Kyr::String address; // the client that passed the password step; only it may complete the login
    bool passwordChangeRequired = false;
};

// The logins waiting for their second factor: a random challenge each, alive 5 minutes, bound to the
// user and the client address, ended by a successful code or after 5 wrong ones. In memory only, and
// bounded: when full, the oldest challenge goes. Thread-safe.
class LoginChallenges {
public:
    static constexpr std::chrono::minutes Lifetime{5};
    static constexpr unsigned MaxWrongCodes = 5;
    static constexpr std::size_t MaxChallenges = 1000;

    explicit LoginChallenges(NowFunction now = SteadyClock::now, std::size_t maxChallenges = MaxChallenges);

    // A new challenge (64 hex digits).
    Kyr::String Create(const LoginChallenge& challenge);
    // The live challenge `id`, when `address` is the one it was made for.
    std::optional<LoginChallenge> Find(const Kyr::String& id, const Kyr::String& address);
    // Counts a wrong code; the challenge ends with the last one allowed.
    void RecordWrongCode(const Kyr::String& id);
    void End(const Kyr::String& id);

private:
    struct Entry {
        LoginChallenge challenge;
        SteadyClock::time_point created;
        unsigned wrongCodes = 0;
    };
    void PruneLocked(SteadyClock::time_point at);

    NowFunction now;
    const std::size_t maxChallenges;
    std::mutex mutex;
    std::unordered_map<Kyr::String, Entry> challenges;
};

} // namespace Kyr::WbmHost
