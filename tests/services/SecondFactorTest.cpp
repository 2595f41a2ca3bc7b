// The second factor on a real database and device key: the codes' arithmetic against the published
// test vectors, the steps accepted around "now", replays, recovery codes and what lies on disk.
#include <sys/stat.h>

#include <cctype>
#include <set>

#include "ServicesTestSupport.h"
#include "TotpCodes.h"

namespace Kyr::Testing {
namespace {

namespace Totp = Ps::Totp;

TEST(TotpCodes, MatchTheSha1TestVectorsOfRfc6238) {
    const std::string secret = "12345678901234567890";
    const struct {
        std::int64_t time;
        const char* code;
    } vectors[] = {{59, "94287082"},         {1111111109, "07081804"}, {1111111111, "14050471"},
                   {1234567890, "89005924"}, {2000000000, "69279037"}, {20000000000, "65353130"}};
    for (const auto& vector : vectors) {
        EXPECT_EQ(Totp::CodeAt(secret, Totp::StepAt(vector.time), 8), vector.code) << vector.time;
        // The six-digit code that users type is the same number's last six digits.
        EXPECT_EQ(Totp::CodeAt(secret, Totp::StepAt(vector.time)), std::string(vector.code).substr(2)) << vector.time;
    }
}

TEST(TotpCodes, RefuseAnythingButSixDigits) {
    const std::string secret = "12345678901234567890";
    const std::string code = Totp::CodeAt(secret, 100);
    for (const std::string& typed : {std::string(""), code + "0", code.substr(1), " " + code.substr(1), std::string("12a456")})
        EXPECT_FALSE(Totp::AcceptedStep(secret, typed, 100, std::nullopt)) << typed;
    EXPECT_EQ(Totp::AcceptedStep(secret, code, 100, std::nullopt), 100u);
}

struct SecondFactorTest : ServicesTest {
    Ps::SecondFactors& Factors() { return services->GetSecondFactors(); }
    std::uint64_t Step() const { return Totp::StepAt(std::chrono::system_clock::to_time_t(*now)); }
    static std::string CodeOf(const std::string& secret, std::uint64_t step) { return Totp::CodeAt(*Totp::FromBase32(secret), step); }

    // Enrols `user` with a fresh secret, confirmed by the current code; answers the secret.
    std::string Enrol(const std::string& user, std::vector<std::string>* recoveryCodes = nullptr) {
        const std::string secret = Factors().NewSecret();
        auto result = Factors().Enrol(user, false, secret, CodeOf(secret, Step()));
        EXPECT_EQ(result.outcome, Ps::EnrolmentOutcome::Enrolled);
        if (recoveryCodes) *recoveryCodes = result.recoveryCodes;
        return secret;
    }
};

// A wrong code and a second enrolment are refused through the host (integration/SecondFactorTest.cpp).
TEST_F(SecondFactorTest, SecretsAreFreshAndRecoveryCodesDistinct) {
    const std::string secret = Factors().NewSecret();
    EXPECT_EQ(Totp::FromBase32(secret)->size(), 20u);
    EXPECT_NE(Factors().NewSecret(), secret);
    EXPECT_EQ(Factors().Enrol("admin", false, "not base32!", "123456").outcome, Ps::EnrolmentOutcome::WrongCode);
    std::vector<std::string> codes;
    Enrol("admin", &codes);
    const std::set<std::string> distinct(codes.begin(), codes.end());
    EXPECT_EQ(distinct.size(), 10u);
    for (const auto& code : distinct) EXPECT_EQ(code.size(), 11u) << code;
}

TEST_F(SecondFactorTest, AcceptsOneStepOfDriftEachWayAndNoMore) {
    const struct {
        int offset;
        bool accepted;
    } cases[] = {{-2, false}, {-1, true}, {0, true}, {1, true}, {2, false}};
    std::map<int, std::string> secrets;
    for (const auto& c : cases) secrets[c.offset] = Enrol("user" + std::to_string(c.offset + 2));
    Advance(std::chrono::minutes(10));
    for (const auto& c : cases) {
        const std::string code = CodeOf(secrets[c.offset], Step() + static_cast<std::uint64_t>(c.offset));
        EXPECT_EQ(Factors().AcceptCode("user" + std::to_string(c.offset + 2), code), c.accepted) << c.offset;
    }
}

TEST_F(SecondFactorTest, ACodeWorksOnceAndNoEarlierStepAfterIt) {
    const std::string secret = Enrol("admin");
    // The code that confirmed the enrolment cannot log in.
    EXPECT_FALSE(Factors().AcceptCode("admin", CodeOf(secret, Step())));
    Advance(std::chrono::seconds(30));
    const std::string current = CodeOf(secret, Step());
    EXPECT_TRUE(Factors().AcceptCode("admin", current));
    EXPECT_FALSE(Factors().AcceptCode("admin", current));
    Open(); // the second factor and its used step survive a restart
    EXPECT_TRUE(Factors().IsEnrolled("admin"));
    EXPECT_EQ(Factors().EnrolledUsers(), std::vector<std::string>{"admin"});
    EXPECT_FALSE(Factors().AcceptCode("admin", current));
    EXPECT_TRUE(Factors().AcceptCode("admin", CodeOf(secret, Step() + 1)));
    Advance(std::chrono::seconds(30));
    // Now the previous step would be within the drift, but it is older than the last one accepted.
    EXPECT_FALSE(Factors().AcceptCode("admin", CodeOf(secret, Step() - 1)));
    EXPECT_FALSE(Factors().AcceptCode("admin", CodeOf(secret, Step())));
    EXPECT_FALSE(Factors().AcceptCode("nobody", CodeOf(secret, Step() + 1)));
}

TEST_F(SecondFactorTest, ARecoveryCodeWorksOnceHoweverItIsTyped) {
    std::vector<std::string> codes;
    Enrol("admin", &codes);
    EXPECT_TRUE(Factors().UseRecoveryCode("admin", codes[0]));
    EXPECT_FALSE(Factors().UseRecoveryCode("admin", codes[0]));
    std::string shouted = codes[1];
    shouted.erase(5, 1);
    for (char& c : shouted) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(Factors().UseRecoveryCode("admin", " " + shouted + " "));
    EXPECT_FALSE(Factors().UseRecoveryCode("admin", "aaaaa-aaaaa"));
    EXPECT_FALSE(Factors().UseRecoveryCode("other", codes[2]));
    EXPECT_EQ(Factors().RecoveryCodesLeft("admin"), 8u);

    EXPECT_TRUE(Factors().Remove("admin"));
    EXPECT_FALSE(Factors().Remove("admin"));
    EXPECT_FALSE(Factors().UseRecoveryCode("admin", codes[2]));
    EXPECT_EQ(Factors().RecoveryCodesLeft("admin"), 0u);
}

TEST_F(SecondFactorTest, SecretsAndRecoveryCodesAreNotOnDiskInClear) {
    std::vector<std::string> codes;
    const std::string secret = Enrol("admin", &codes);
    const std::string raw = *Totp::FromBase32(secret);
    services.reset(); // everything written out
    for (const std::string& text : {secret, raw, codes[0], codes[9]})
        EXPECT_TRUE(FilesContaining(directory, text).empty()) << text;

    struct stat key {};
    ASSERT_EQ(::stat((directory + "/second-factor.key").c_str(), &key), 0);
    EXPECT_EQ(key.st_mode & 0777, 0600u);
    EXPECT_EQ(key.st_size, 32);

    // Without the device key the stored secret is of no use.
    Open();
    Advance(std::chrono::seconds(30));
    EXPECT_TRUE(Factors().AcceptCode("admin", CodeOf(secret, Step())));
    services.reset();
    std::filesystem::remove(directory + "/second-factor.key");
    Open();
    Advance(std::chrono::seconds(30));
    EXPECT_FALSE(Factors().AcceptCode("admin", CodeOf(secret, Step())));
}

TEST_F(SecondFactorTest, PolicyIsKeptAndLocalUsersStartWithout) {
    EXPECT_EQ(Factors().GetPolicy(), Ps::SecondFactorPolicy::Off);
    Factors().SetPolicy(Ps::SecondFactorPolicy::Administrators);
    Open();
    EXPECT_EQ(Factors().GetPolicy(), Ps::SecondFactorPolicy::Administrators);

    // A directory user's second factor does not pass to a local user added under its name later,
    // and a removed local user's goes with it.
    Enrol("carol");
    ASSERT_TRUE(Users()->AddUser("carol", "Valid-pass-1"));
    EXPECT_FALSE(Factors().IsEnrolled("carol"));
    Enrol("carol");
    ASSERT_TRUE(Users()->RemoveUser("carol"));
    EXPECT_FALSE(Factors().IsEnrolled("carol"));
}

} // namespace
} // namespace Kyr::Testing
