#include "Kyr/System/Commons/DateTime.h"

#include <fmt/format.h>

namespace Kyr::System::Commons {

namespace {

struct CivilDate {
    std::int64_t year;
    unsigned month; // 1..12
    unsigned day;   // 1..31
};

// The proleptic Gregorian date of a count of days since 1970-01-01, by whole 400-year eras. Done
// here rather than with gmtime_r because the controller's C library has a 32-bit time_t, which
// would turn every date from 2038-01-19 on into one in 1901.
CivilDate CivilFromDays(std::int64_t days) {
    days += 719468; // days from 0000-03-01 to 1970-01-01
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146097);                        // [0, 146096]
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365; // [0, 399]
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100); // [0, 365], from March
    const unsigned monthFromMarch = (5 * dayOfYear + 2) / 153;                                 // [0, 11]
    const unsigned day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    const unsigned month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    const std::int64_t year = static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0);
    return {year, month, day};
}

// Floor division: the remainder is never negative, so times before 1970 count down correctly.
std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor, std::int64_t& remainder) {
    std::int64_t quotient = value / divisor;
    remainder = value % divisor;
    if (remainder < 0) {
        remainder += divisor;
        quotient -= 1;
    }
    return quotient;
}

} // namespace

DateTime DateTime::GetUtcNow() { return DateTime(Clock::now()); }

std::int64_t DateTime::ToUnixMilliseconds() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

String DateTime::ToIso8601() const {
    std::int64_t milliseconds = 0;
    std::int64_t secondOfDay = 0;
    const std::int64_t seconds = FloorDivide(ToUnixMilliseconds(), 1000, milliseconds);
    const CivilDate date = CivilFromDays(FloorDivide(seconds, 86400, secondOfDay));
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", date.year, date.month, date.day, secondOfDay / 3600,
                       secondOfDay / 60 % 60, secondOfDay % 60, milliseconds);
}

} // namespace Kyr::System::Commons
