#pragma once
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "SessionStore.h"

namespace Kyr::WbmHost {

// Waits after wrong passwords (at login, and for the current password of a password change), per
// user name as typed (known or not, so that waits do not reveal which names exist). The n-th failure
// in a row makes the name wait min(initial + (n-1) * increment, maximum) seconds of the session
// policy; administrators only when the policy says so. One attempt per name at a time (except for
// spared administrators, whose logins attackers could otherwise block), so that parallel requests
// cannot try several passwords within one wait. A success forgets the failures,
// and so does a quiet quarter of an hour after the last wait ended. Thread-safe.
class LoginThrottle final : public Kyr::PlatformServices::PasswordAttempts {
public:
    explicit LoginThrottle(NowFunction now = SteadyClock::now);

    // Whole seconds (rounded up) until `userName` may try again, or nothing when it may try now.
    std::optional<std::chrono::seconds> BeginAttempt(const Kyr::String& userName,
                                                     const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy,
                                                     bool isAdministrator) override;
    std::chrono::seconds RecordFailure(const Kyr::String& userName,
                                       const Kyr::System::Um::Services::Internal::SessionPolicyParameter& policy,
                                       bool isAdministrator) override;
    void RecordSuccess(const Kyr::String& userName) override;

private:
    struct Entry {
        std::uint32_t failures = 0;
        SteadyClock::time_point waitUntil;
        std::optional<SteadyClock::time_point> attemptStarted;
    };
    bool AttemptUnderWay(const Entry& entry, SteadyClock::time_point at) const;
    void PruneLocked(SteadyClock::time_point now);

    NowFunction now;
    std::mutex mutex;
    std::unordered_map<Kyr::String, Entry> entries;
};

} // namespace Kyr::WbmHost
