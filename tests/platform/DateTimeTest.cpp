#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

#include "Kyr/System/Commons/DateTime.h"

using Kyr::String;
using Kyr::System::Commons::DateTime;

// The text form must not depend on the width of the C library's time_t (32 bits on the controller).
TEST(DateTimeTest, Iso8601TextOfUnixMilliseconds) {
    struct Case { std::int64_t unixMilliseconds; String text; };
    const Case cases[] = {
        {0, "1970-01-01T00:00:00.000Z"},
        {-1, "1969-12-31T23:59:59.999Z"},
        {951782400123, "2000-02-29T00:00:00.123Z"},
        {1795238161007, "2026-11-21T05:16:01.007Z"},
        {2147483647999, "2038-01-19T03:14:07.999Z"},
        {2147483648000, "2038-01-19T03:14:08.000Z"},
        {4107542400000, "2100-03-01T00:00:00.000Z"},
        {7258118399999, "2199-12-31T23:59:59.999Z"},
        {-2208988800000, "1900-01-01T00:00:00.000Z"},
    };
    for (const Case& c : cases) {
        const DateTime time{DateTime::Clock::time_point(std::chrono::milliseconds(c.unixMilliseconds))};
        EXPECT_EQ(time.ToIso8601(), c.text) << c.unixMilliseconds;
        EXPECT_EQ(time.ToUnixMilliseconds(), c.unixMilliseconds);
    }
}
