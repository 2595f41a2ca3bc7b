#include "Kyr/System/Commons/DateTime.h"

#include <ctime>

#include <fmt/format.h>

namespace Kyr::System::Commons {

DateTime DateTime::GetUtcNow() { return DateTime(Clock::now()); }

std::int64_t DateTime::ToUnixMilliseconds() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

String DateTime::ToIso8601() const {
    const std::int64_t milliseconds = ToUnixMilliseconds();
    std::int64_t seconds = milliseconds / 1000;
    std::int64_t fraction = milliseconds % 1000;
    if (fraction < 0) {
        fraction += 1000;
        seconds -= 1;
    }
    const std::time_t t = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&t, &parts);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                       parts.tm_hour, parts.tm_min, parts.tm_sec, fraction);
}

} // namespace Kyr::System::Commons
