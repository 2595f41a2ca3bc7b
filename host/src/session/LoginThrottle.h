#pragma once
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "Kyr/PlatformServices/PlatformServices.h"
#include "session/SessionStore.h"

namespace Kyr::WbmHost {

// Waits after wrong passwords (at login, and for the current password of a password change), per
// user name as typed (known or not, so that waits do not reveal which names exist). The n-th failure
// in a row makes the name wait min(initial + (n-1) * increment, maximum) seconds of the session
// policy; administrators only when the policy says so. One attempt per name at a time (except for
// spared administrators, whose logins attackers could otherwise block), so that parallel requests
// cannot try several passwords within one wait. A success forgets the name's failures, and so does a
// quiet quarter of an hour after the last wait ended.
//
// Logins also wait per client address, so that trying many names from one address cannot go around
// the per-name waits: after `AddressFreeFailures` failures in a row from an address, further ones
// make it wait like a name does (for everybody, spared administrators too: the wait holds only that
// address). A success does not forget an address's failures, or one known account would reset them.
//
// Names are kept as fixed-size digests and both tables are bounded, so that a flood of distinct
// names costs a fixed amount of memory; when a table is full, the entry closest to being forgotten
// goes. Thread-safe.
class LoginThrottle final : public Kyr::PlatformServices::PasswordAttempts {
public:
    using Policy = Kyr::System::Um::Services::Internal::SessionPolicyParameter;
    static constexpr std::uint32_t AddressFreeFailures = 10;
    static constexpr std::size_t MaxEntries = 10000;

    explicit LoginThrottle(NowFunction now = SteadyClock::now, std::size_t maxEntries = MaxEntries);

    // Whole seconds (rounded up) until `userName` may try again from `address` (empty: not known),
    // or nothing when it may try now.
    std::optional<std::chrono::seconds> BeginAttempt(const Kyr::String& userName, const Kyr::String& address,
                                                     const Policy& policy, bool isAdministrator);
    std::chrono::seconds RecordFailure(const Kyr::String& userName, const Kyr::String& address, const Policy& policy,
                                       bool isAdministrator);

    // The services' view (password changes), without an address.
    std::optional<std::chrono::seconds> BeginAttempt(const Kyr::String& userName, const Policy& policy,
                                                     bool isAdministrator) override;
    std::chrono::seconds RecordFailure(const Kyr::String& userName, const Policy& policy, bool isAdministrator) override;
    void RecordSuccess(const Kyr::String& userName) override;
    // Ends the attempt under way without forgetting the name's failures: the password was right, but
    // a second factor must still follow, and its wrong codes count on from the failures before.
    void EndAttempt(const Kyr::String& userName);

    std::size_t TrackedNames() const;

private:
    struct Entry {
        std::uint32_t failures = 0;
        SteadyClock::time_point waitUntil;
        std::optional<SteadyClock::time_point> attemptStarted;
    };
    using Table = std::unordered_map<std::string, Entry>;

    bool AttemptUnderWay(const Entry& entry, SteadyClock::time_point at) const;
    Entry& EntryFor(Table& table, const std::string& key, SteadyClock::time_point at);
    static std::optional<std::chrono::seconds> WaitLeft(const Entry& entry, SteadyClock::time_point at);
    static std::uint64_t WaitSeconds(const Policy& policy, std::uint32_t failures);

    NowFunction now;
    const std::size_t maxEntries;
    mutable std::mutex mutex;
    Table names;
    Table addresses;
};

} // namespace Kyr::WbmHost
