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

// The expected wire form, written out by hand (numbers in the little-endian order of the hosts).
struct Wire {
    Bytes bytes;
    Wire& Field(std::uint8_t tag, std::uint64_t value, int size) {
        bytes.push_back(tag);
        return Raw(value, size);
    }
    Wire& Raw(std::uint64_t value, int size) {
        for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }
    Wire& Text(const String& text, std::uint32_t capacity) {
        Field(16, 2, 1).Raw(capacity, 4).Raw(text.size(), 4);
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    Wire& Append(const Bytes& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
        return *this;
    }
};

// `value` is written as `expected`, and what is read from `expected` writes it again: every field
// of the wire form is read back into its own member.
template <class T>
void ExpectWireForm(const T& value, const Wire& expected) {
    EXPECT_EQ(Serialized(value), expected.bytes);
    RemotingReader reader(expected.bytes);
    T copy;
    copy.Deserialize(reader);
    EXPECT_TRUE(reader.AtEnd());
    EXPECT_EQ(Serialized(copy), expected.bytes);
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

TEST(RemotingTest, EachFieldIsItsTagAndRawBytesInFieldOrderAndReadsBack) {
    const Roleruleset ruleset = SampleRuleset();
    Wire policy;
    policy.Text("!#", 64).Field(9, 1, 4).Field(9, 2, 4).Field(8, 3, 4).Field(9, 4, 4);
    policy.Field(2, 1, 1).Field(2, 0, 1).Field(2, 1, 1).Field(2, 1, 1);
    for (std::uint64_t count : {5u, 6u, 7u, 8u, 9u, 0xFFFFFFFFu}) policy.Field(9, count, 4);
    ExpectWireForm(ruleset.passwordPolicy, policy);
    Wire expiration;
    ExpectWireForm(ruleset.expirationPolicy, expiration.Field(2, 1, 1).Field(2, 0, 1).Field(9, 90, 4).Field(9, 14, 4));
    Wire whole;
    ExpectWireForm(ruleset, whole.Text("admin", 128).Field(20, 15, 4).Append(policy.bytes).Field(20, 4, 4).Append(expiration.bytes));

    SessionPolicyParameter session;
    session.timeoutInitialSeconds = 1, session.timeoutIncrementSeconds = 2, session.timeoutMaximumSeconds = 3;
    session.maxConcurrentSessionsCount = 4, session.maxSessionTimeMinutes = 5, session.issueTimeoutToAdminUsers = true;
    Wire sessionWire;
    for (std::uint64_t count : {1u, 2u, 3u, 4u, 5u}) sessionWire.Field(9, count, 4);
    ExpectWireForm(session, sessionWire.Field(2, 1, 1));

    UserPasswordInfo info;
    info.passwordState = UserPasswordState::Expired, info.timeToExpire = 0x1234567890ull, info.userName = "bob";
    info.isUsingInitialPassword = true;
    Wire infoWire;
    ExpectWireForm(info, infoWire.Field(8, 2, 4).Field(11, 0x1234567890ull, 8).Text("bob", 64).Field(2, 1, 1));
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
