// The host's second-factor pieces on their own: the login challenges and pending enrolments with a
// clock the test moves, and the QR code's drawing.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "secondfactor/LoginChallenges.h"
#include "secondfactor/OtpauthUri.h"
#include "secondfactor/PendingEnrolments.h"
#include "secondfactor/QrCodeSvg.h"

namespace Kyr::WbmHost {
namespace {

using namespace std::chrono_literals;

struct FakeClock {
    SteadyClock::time_point now = SteadyClock::time_point() + 1000h;
    NowFunction Function() { return [this] { return now; }; }
};

TEST(LoginChallengesTest, BoundToTheAddressAndAliveFiveMinutes) {
    FakeClock clock;
    LoginChallenges challenges(clock.Function());
    const Kyr::String id = challenges.Create({"alice", "127.0.0.1", true});
    EXPECT_EQ(id.size(), 64u);
    EXPECT_NE(challenges.Create({"alice", "127.0.0.1", true}), id);
    EXPECT_FALSE(challenges.Find(id, "127.0.0.2"));
    clock.now += 4min + 59s;
    auto found = challenges.Find(id, "127.0.0.1");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->userName, "alice");
    EXPECT_TRUE(found->passwordChangeRequired);
    clock.now += 1s;
    EXPECT_FALSE(challenges.Find(id, "127.0.0.1"));
}

TEST(LoginChallengesTest, EndAfterFiveWrongCodesOrWhenUsed) {
    FakeClock clock;
    LoginChallenges challenges(clock.Function());
    const Kyr::String id = challenges.Create({"alice", "127.0.0.1", false});
    for (int i = 0; i < 4; ++i) challenges.RecordWrongCode(id);
    EXPECT_TRUE(challenges.Find(id, "127.0.0.1"));
    challenges.RecordWrongCode(id);
    EXPECT_FALSE(challenges.Find(id, "127.0.0.1"));

    const Kyr::String used = challenges.Create({"alice", "127.0.0.1", false});
    challenges.End(used);
    EXPECT_FALSE(challenges.Find(used, "127.0.0.1"));
}

TEST(LoginChallengesTest, WhenFullTheOldestGoes) {
    FakeClock clock;
    LoginChallenges challenges(clock.Function(), 2);
    const Kyr::String first = challenges.Create({"a", "127.0.0.1", false});
    clock.now += 1s;
    const Kyr::String second = challenges.Create({"b", "127.0.0.1", false});
    clock.now += 1s;
    const Kyr::String third = challenges.Create({"c", "127.0.0.1", false});
    EXPECT_FALSE(challenges.Find(first, "127.0.0.1"));
    EXPECT_TRUE(challenges.Find(second, "127.0.0.1"));
    EXPECT_TRUE(challenges.Find(third, "127.0.0.1"));
}

TEST(PendingEnrolmentsTest, OnePerSessionReplacedByANewOneAndGoneAfterHalfAnHour) {
    FakeClock clock;
    PendingEnrolments pending(clock.Function(), 2);
    pending.Put("session-1", "SECRET1");
    pending.Put("session-1", "SECRET2");
    clock.now += 1s;
    pending.Put("session-2", "SECRET3");
    EXPECT_EQ(pending.Find("session-1"), "SECRET2");
    clock.now += 1s;
    pending.Put("session-3", "SECRET4"); // full: the oldest goes
    EXPECT_FALSE(pending.Find("session-1"));
    EXPECT_EQ(pending.Find("session-2"), "SECRET3");
    clock.now += 30min;
    EXPECT_FALSE(pending.Find("session-2"));
    pending.Erase("session-3");
    EXPECT_FALSE(pending.Find("session-3"));
}

TEST(OtpauthUriTest, EncodesIssuerAndUserName) {
    EXPECT_EQ(OtpauthUri("plc 7", "J\xC3\xBCrgen&co", "JBSWY3DPEHPK3PXP"),
              "otpauth://totp/plc%207:J%C3%BCrgen%26co?secret=JBSWY3DPEHPK3PXP&issuer=plc%207&algorithm=SHA1&digits=6&period=30");
}

// The dark modules that the SVG path draws, as (x, y) in modules.
std::set<std::pair<int, int>> DarkModules(const std::string& svg) {
    std::set<std::pair<int, int>> dark;
    static const std::regex run(R"(M(\d+) (\d+)h(\d+)v1h-(\d+)z)");
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), run); it != std::sregex_iterator(); ++it) {
        const int x = std::stoi((*it)[1]), y = std::stoi((*it)[2]), length = std::stoi((*it)[3]);
        for (int i = 0; i < length; ++i) dark.insert({x + i, y});
    }
    return dark;
}

TEST(QrCodeSvgTest, DrawsTheThreeFinderPatternsInsideTheQuietZone) {
    const std::string svg = QrCodeSvg(OtpauthUri("device", "admin", "JBSWY3DPEHPK3PXPJBSWY3DPEHPK3PXP"));
    EXPECT_EQ(svg.find("style"), std::string::npos);
    std::smatch viewBox;
    ASSERT_TRUE(std::regex_search(svg, viewBox, std::regex(R"(viewBox="0 0 (\d+) \1")")));
    const int size = std::stoi(viewBox[1]);
    const int width = size - 8; // a quiet zone of 4 modules on each side
    EXPECT_EQ((width - 17) % 4, 0) << width; // the width of a QR code version
    const auto dark = DarkModules(svg);
    for (const auto& [x, y] : dark) {
        EXPECT_TRUE(x >= 4 && y >= 4 && x < 4 + width && y < 4 + width) << x << "," << y;
    }
    // A finder pattern: a dark 7x7 ring, a light ring inside it, a dark 3x3 centre.
    for (const auto& [left, top] : {std::pair{4, 4}, std::pair{4 + width - 7, 4}, std::pair{4, 4 + width - 7}})
        for (int dy = 0; dy < 7; ++dy)
            for (int dx = 0; dx < 7; ++dx) {
                const int ring = std::max(std::abs(dx - 3), std::abs(dy - 3));
                EXPECT_EQ(dark.count({left + dx, top + dy}) == 1, ring != 2) << left << "," << top << " +" << dx << "," << dy;
            }
}

} // namespace
} // namespace Kyr::WbmHost
