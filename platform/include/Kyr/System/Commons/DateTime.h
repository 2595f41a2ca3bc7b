#pragma once
#include <chrono>
#include <cstdint>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons {

class KYR_API DateTime {
public:
    using Clock = std::chrono::system_clock;
    DateTime() = default;
    explicit DateTime(Clock::time_point time) : time(time) {}
    static DateTime GetUtcNow();
    Clock::time_point GetTimePoint() const noexcept { return time; }
    std::int64_t ToUnixMilliseconds() const;
    String ToIso8601() const; // "2026-11-21T05:36:01.123Z"

private:
    Clock::time_point time{};
};

} // namespace Kyr::System::Commons
