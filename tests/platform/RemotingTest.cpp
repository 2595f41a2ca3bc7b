#include <gtest/gtest.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Um/Services/UmStructs.h"

using Kyr::String;
using Kyr::System::Commons::InvalidOperationException;
using Kyr::System::Rsc::RemotingReader;
using Kyr::System::Rsc::RemotingWriter;
using namespace Kyr::System::Um::Services;
using namespace Kyr::System::Um::Services::Internal;

namespace {

template <class T>
T RoundTrip(const T& value, std::size_t* size = nullptr) {
    RemotingWriter writer;
    value.Serialize(writer);
    if (size != nullptr) *size = writer.GetBytes().size();
    RemotingReader reader(writer.GetBytes());
    T copy;
    copy.Deserialize(reader);
    EXPECT_TRUE(reader.AtEnd());
    return copy;
}

Roleruleset SampleRuleset() {
    Roleruleset ruleset;
    ruleset.roleRulesetName = String(127, 'n');
    PasswordPolicyParameter& p = ruleset.passwordPolicy;
    p.allowedASCIISymbols = "!#$%";
    p.reusedGenerationCount = 1;
    p.allowedPasswordChanges = 2;
    p.intervalType = PasswordPolicyInterval::Month;
    p.intervalCount = 3;
    p.blockUsername = true;
    p.blockReusedPasswords = false;
    p.checkBlockList = true;
    p.checkPwChangableInterval = true;
    p.minCharCount = 4;
    p.minASCIICount = 5;
    p.minMixedCharCount = 6;
    p.minNumberCount = 7;
    p.minSymbolCount = 8;
    p.minUnicodeCount = 0xFFFFFFFFu;
    ruleset.expirationPolicy = ExpirationPolicyParameter();
    ruleset.expirationPolicy.policyActive = true;
    ruleset.expirationPolicy.daysToExpiration = 90;
    ruleset.expirationPolicy.daysToWarning = 14;
    return ruleset;
}

} // namespace

TEST(RemotingTest, RolerulesetSurvivesTheRoundTrip) {
    const Roleruleset original = SampleRuleset();
    std::size_t size = 0;
    const Roleruleset copy = RoundTrip(original, &size);
    EXPECT_EQ(copy.roleRulesetName, original.roleRulesetName);
    const auto& p = copy.passwordPolicy;
    EXPECT_EQ(p.allowedASCIISymbols.ToString(), "!#$%");
    EXPECT_EQ(p.intervalType, PasswordPolicyInterval::Month);
    EXPECT_EQ((std::vector<std::uint32_t>{p.reusedGenerationCount, p.allowedPasswordChanges, p.intervalCount, p.minCharCount,
                                          p.minASCIICount, p.minMixedCharCount, p.minNumberCount, p.minSymbolCount, p.minUnicodeCount}),
              (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 0xFFFFFFFFu}));
    EXPECT_EQ((std::vector<bool>{p.blockUsername, p.blockReusedPasswords, p.checkBlockList, p.checkPwChangableInterval}),
              (std::vector<bool>{true, false, true, true}));
    EXPECT_TRUE(copy.expirationPolicy.policyActive);
    EXPECT_FALSE(copy.expirationPolicy.lockUserActive);
    EXPECT_EQ(copy.expirationPolicy.daysToExpiration, 90u);
    EXPECT_EQ(copy.expirationPolicy.daysToWarning, 14u);
    // name 1+1+4+4+127; marker 5; symbols 1+1+4+4+4; nine uint32 of 5; enum 5; four bools of 2; marker 5; 2 bools; 2 uint32
    EXPECT_EQ(size, 137u + 5 + 14 + 45 + 5 + 8 + 5 + 4 + 10);
}

TEST(RemotingTest, SessionPolicyAndPasswordInfoSurviveTheRoundTrip) {
    SessionPolicyParameter session;
    session.timeoutInitialSeconds = 300;
    session.timeoutIncrementSeconds = 60;
    session.timeoutMaximumSeconds = 3600;
    session.maxConcurrentSessionsCount = 5;
    session.maxSessionTimeMinutes = 480;
    session.issueTimeoutToAdminUsers = true;
    const SessionPolicyParameter sessionCopy = RoundTrip(session);
    EXPECT_EQ(sessionCopy.timeoutInitialSeconds, 300u);
    EXPECT_EQ(sessionCopy.timeoutIncrementSeconds, 60u);
    EXPECT_EQ(sessionCopy.timeoutMaximumSeconds, 3600u);
    EXPECT_EQ(sessionCopy.maxConcurrentSessionsCount, 5u);
    EXPECT_EQ(sessionCopy.maxSessionTimeMinutes, 480u);
    EXPECT_TRUE(sessionCopy.issueTimeoutToAdminUsers);

    UserPasswordInfo info;
    info.passwordState = UserPasswordState::Locked;
    info.timeToExpire = 0x1234567890ull;
    info.userName = String(63, 'u');
    info.isUsingInitialPassword = true;
    const UserPasswordInfo infoCopy = RoundTrip(info);
    EXPECT_EQ(infoCopy.passwordState, UserPasswordState::Locked);
    EXPECT_EQ(infoCopy.timeToExpire, 0x1234567890ull);
    EXPECT_EQ(infoCopy.userName, info.userName);
    EXPECT_TRUE(infoCopy.isUsingInitialPassword);
}

TEST(RemotingTest, UserPasswordInfoStartsWithEnumTagThenEightByteTime) {
    UserPasswordInfo info;
    info.passwordState = UserPasswordState::Expired;
    info.timeToExpire = 7;
    RemotingWriter writer;
    info.Serialize(writer);
    const std::vector<std::uint8_t>& bytes = writer.GetBytes();
    ASSERT_GE(bytes.size(), 15u);
    EXPECT_EQ(bytes[0], 8);  // enum tag
    EXPECT_EQ(bytes[1], 2);  // Expired
    EXPECT_EQ(bytes[5], 11); // uint64 tag
    EXPECT_EQ(bytes[6], 7);
    EXPECT_EQ(bytes[14], 16); // string tag
    EXPECT_EQ(bytes[15], 2);  // UTF-8
}

TEST(RemotingTest, MismatchedOrShortDataIsRefused) {
    RemotingWriter writer;
    SampleRuleset().Serialize(writer);
    std::vector<std::uint8_t> bytes = writer.GetBytes();

    struct Case {
        const char* title;
        std::vector<std::uint8_t> bytes;
    };
    std::vector<std::uint8_t> truncated(bytes.begin(), bytes.end() - 1);
    std::vector<std::uint8_t> wrongCount = bytes;
    wrongCount[137 + 1] = 14; // the password policy marker claims 14 fields
    std::vector<std::uint8_t> wrongTag = bytes;
    wrongTag[0] = 9;
    for (const Case& c : {Case{"truncated", truncated}, Case{"wrong struct size", wrongCount}, Case{"wrong tag", wrongTag}}) {
        RemotingReader reader(c.bytes);
        Roleruleset copy;
        EXPECT_THROW(copy.Deserialize(reader), InvalidOperationException) << c.title;
    }

    // A string written with a larger capacity than the reader's buffer cannot be read into it.
    RemotingWriter wide;
    wide.WriteStringInternal(String(100, 'x').c_str(), 128, Kyr::System::Rsc::RscStringEncoding::Utf8, true);
    RemotingReader narrow(wide.GetBytes());
    char buffer[64];
    EXPECT_THROW(narrow.ReadStringInternal(buffer, sizeof buffer, Kyr::System::Rsc::RscStringEncoding::Utf8, true),
                 InvalidOperationException);
}
