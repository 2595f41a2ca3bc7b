#pragma once
// Password ageing: the state of a password from the time it was set and the expiration policy.
// A password expires daysToExpiration days after it was set; within the last daysToWarning days it
// "expires soon"; once expired it is "Locked" when the policy locks expired users. Without an active
// policy a password never expires (time to expire 0).
#include <cstdint>

#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::PlatformServices {

using Kyr::System::Um::Services::UserPasswordState;
using Kyr::System::Um::Services::Internal::ExpirationPolicyParameter;

struct PasswordAge {
    UserPasswordState state = UserPasswordState::Valid;
    std::uint64_t secondsToExpire = 0;
};

inline PasswordAge ComputePasswordAge(const ExpirationPolicyParameter& policy, std::int64_t setAt, std::int64_t now) {
    constexpr std::int64_t SecondsPerDay = 86400;
    if (!policy.policyActive || policy.daysToExpiration == 0) return {};
    std::int64_t remaining = setAt + policy.daysToExpiration * SecondsPerDay - now;
    if (remaining <= 0) return {policy.lockUserActive ? UserPasswordState::Locked : UserPasswordState::Expired, 0};
    auto seconds = static_cast<std::uint64_t>(remaining);
    if (remaining <= policy.daysToWarning * SecondsPerDay) return {UserPasswordState::ExpiresSoon, seconds};
    return {UserPasswordState::Valid, seconds};
}

inline bool IsExpired(UserPasswordState state) {
    return state == UserPasswordState::Expired || state == UserPasswordState::Locked;
}

} // namespace Kyr::PlatformServices
