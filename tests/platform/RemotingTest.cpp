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

using Bytes = std::vector<std::uint8_t>;

template <class T>
Bytes Serialized(const T& value) {
    RemotingWriter writer;
    value.Serialize(writer);
    return writer.GetBytes();
}

// `value`, whose fields all differ from their defaults and from their neighbours, reads back into a
// fresh object that writes the same bytes again: a field skipped, swapped or misread would show.
template <class T>
void ExpectRoundTrip(const T& value) {
    const Bytes bytes = Serialized(value);
    RemotingReader reader(bytes);
    T copy;
    copy.Deserialize(reader);
    EXPECT_TRUE(reader.AtEnd());
    EXPECT_EQ(Serialized(copy), bytes);
}

// Every field set, each to a value of its own.
Roleruleset SampleRuleset() {
    Roleruleset r;
    r.roleRulesetName = "admin";
    auto& p = r.passwordPolicy;
    p.allowedASCIISymbols = "!#";
    p.reusedGenerationCount = 1, p.allowedPasswordChanges = 2, p.intervalType = PasswordPolicyInterval::Month, p.intervalCount = 4;
    p.blockUsername = true, p.checkBlockList = true, p.checkPwChangableInterval = true;
    p.minCharCount = 5, p.minASCIICount = 6, p.minMixedCharCount = 7, p.minNumberCount = 8, p.minSymbolCount = 9;
    p.minUnicodeCount = 0xFFFFFFFFu;
    r.expirationPolicy.policyActive = true, r.expirationPolicy.daysToExpiration = 90, r.expirationPolicy.daysToWarning = 14;
    return r;
}

} // namespace

// Nothing outside the platform reads the bytes, so their layout is left to the code.
TEST(RemotingTest, EveryFieldReadsBackIntoItsOwnMember) {
    ExpectRoundTrip(SampleRuleset());
    SessionPolicyParameter session;
    session.timeoutInitialSeconds = 1, session.timeoutIncrementSeconds = 2, session.timeoutMaximumSeconds = 3;
    session.maxConcurrentSessionsCount = 4, session.maxSessionTimeMinutes = 5, session.issueTimeoutToAdminUsers = true;
    ExpectRoundTrip(session);
    UserPasswordInfo info;
    info.passwordState = UserPasswordState::Expired, info.timeToExpire = 0x1234567890ull, info.userName = "bob";
    info.isUsingInitialPassword = true;
    ExpectRoundTrip(info);
}

TEST(RemotingTest, MismatchedOrShortDataIsRefused) {
    std::vector<Bytes> broken(4, Serialized(SampleRuleset()));
    broken[0].pop_back();  // cut short
    broken[1][0] = 9;      // a number's tag where the name's string tag belongs
    broken[2][16] = 14;    // the password policy marker claims 14 fields
    broken[3][6] = 128;    // a name of 128 bytes in a capacity of 128
    for (const Bytes& bytes : broken) {
        RemotingReader reader(bytes);
        Roleruleset copy;
        EXPECT_THROW(copy.Deserialize(reader), InvalidOperationException);
    }
}
