#include <gtest/gtest.h>

#include <fmt/format.h>

#include <sstream>

#include "Kyr/System/Commons/Io/FileSystemError.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Um/Services/UmEnums.h"

using Kyr::String;
using namespace Kyr::System::Um::Services;

namespace {

template <class TEnum>
void ExpectRoundTrip(TEnum value, const String& name) {
    std::ostringstream out;
    out << value;
    EXPECT_EQ(out.str(), name);
    std::istringstream in(name);
    TEnum read = static_cast<TEnum>(99);
    EXPECT_TRUE(static_cast<bool>(in >> read)) << name;
    EXPECT_EQ(read, value) << name;
}

template <class TEnum>
void ExpectRefused(const String& text) {
    std::istringstream in(text);
    TEnum read = static_cast<TEnum>(1);
    in >> read;
    EXPECT_TRUE(in.fail()) << text;
    EXPECT_EQ(read, static_cast<TEnum>(1)) << text << ": value left alone";
}

} // namespace

TEST(EnumTextTest, NamesRoundTrip) {
    ExpectRoundTrip(UserManagerConfigError::NoError, "NoError");
    ExpectRoundTrip(UserManagerConfigError::WarningDaysNotBelowExpirationDays, "WarningDaysNotBelowExpirationDays");
    ExpectRoundTrip(UserManagerConfigError::MinimumCountsExceedLength, "MinimumCountsExceedLength");
    ExpectRoundTrip(UserPasswordState::Valid, "Valid");
    ExpectRoundTrip(UserPasswordState::ExpiresSoon, "ExpiresSoon");
    ExpectRoundTrip(UserPasswordState::Expired, "Expired");
    ExpectRoundTrip(UserPasswordState::Locked, "Locked");
    ExpectRoundTrip(PasswordPolicyInterval::Hour, "Hour");
    ExpectRoundTrip(PasswordPolicyInterval::Day, "Day");
    ExpectRoundTrip(PasswordPolicyInterval::Week, "Week");
    ExpectRoundTrip(PasswordPolicyInterval::Month, "Month");
    ExpectRoundTrip(Kyr::System::Commons::Io::FileSystemError::AccessDenied, "AccessDenied");
}

TEST(EnumTextTest, UnknownTextSetsFailBit) {
    for (const String text : {"day", "Days", "1", "", "Minute"}) ExpectRefused<PasswordPolicyInterval>(text);
    for (const String text : {"expired", "Valid_"}) ExpectRefused<UserPasswordState>(text);
    ExpectRefused<UserManagerConfigError>("noerror");
}

TEST(EnumTextTest, FormatUsesTheNameAndUnknownValuesPrintTheirNumber) {
    EXPECT_EQ(fmt::format("{0}", UserManagerConfigError::InvalidArgument), "InvalidArgument");
    EXPECT_EQ(fmt::format("{}", static_cast<UserManagerConfigError>(77)), "77");
}
