#include <gtest/gtest.h>

#include <fmt/format.h>

#include <sstream>

#include "Kyr/System/Commons/Io/FileSystemError.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmEnums.h"

using Kyr::String;
using Kyr::System::Commons::Io::FileSystemError;
using namespace Kyr::System::Um::Services;

namespace {

// Every value of 0..count-1 prints a name that reads back as the same value.
template <class TEnum>
void ExpectEveryValueRoundTrips(std::uint32_t count) {
    for (std::uint32_t raw = 0; raw < count; ++raw) {
        std::ostringstream out;
        out << static_cast<TEnum>(raw);
        std::istringstream in(out.str());
        auto read = static_cast<TEnum>(count);
        EXPECT_TRUE(static_cast<bool>(in >> read)) << out.str();
        EXPECT_EQ(read, static_cast<TEnum>(raw)) << out.str();
    }
}

template <class TEnum>
void ExpectRefused(const String& text) {
    std::istringstream in(text);
    auto read = static_cast<TEnum>(1);
    EXPECT_TRUE((in >> read).fail()) << text;
    EXPECT_EQ(read, static_cast<TEnum>(1)) << text << ": value left alone";
}

} // namespace

TEST(EnumTextTest, NamesRoundTripOtherTextSetsTheFailBitUnknownValuesPrintTheirNumber) {
    ExpectEveryValueRoundTrips<UserManagerConfigError>(30);
    ExpectEveryValueRoundTrips<UserPasswordState>(4);
    ExpectEveryValueRoundTrips<PasswordPolicyInterval>(4);
    ExpectEveryValueRoundTrips<FileSystemError>(7);
    for (const String text : {"day", "Days", "1", ""}) ExpectRefused<PasswordPolicyInterval>(text);
    ExpectRefused<UserManagerConfigError>("noerror");
    EXPECT_EQ(fmt::format("{0} {1}", UserManagerConfigError::NoError, static_cast<UserManagerConfigError>(77)), "NoError 77");
}
