// The host's second-factor pieces on their own: the login challenges and pending enrolments with a
// clock the test moves, the key URI, and the QR code's drawing read back by a QR reader.
#include <gtest/gtest.h>

#include "FakeClock.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <set>

#include "secondfactor/LoginChallenges.h"
#include "secondfactor/OtpauthUri.h"
#include "secondfactor/PendingEnrolments.h"
#include "secondfactor/QrCodeSvg.h"
#include "fakes/TempDir.h"

namespace Kyr::WbmHost {
namespace {

using namespace std::chrono_literals;

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

// The SVG painted into a greyscale image (PGM), `scale` pixels per module.
std::string PaintedImage(const std::set<std::pair<int, int>>& dark, int size, int scale) {
    const int pixels = size * scale;
    std::string image = "P5 " + std::to_string(pixels) + " " + std::to_string(pixels) + " 255\n";
    const std::size_t header = image.size();
    image.append(static_cast<std::size_t>(pixels) * pixels, '\xff');
    for (const auto& [x, y] : dark)
        for (int dy = 0; dy < scale; ++dy)
            for (int dx = 0; dx < scale; ++dx)
                image[header + static_cast<std::size_t>((y * scale + dy) * pixels + x * scale + dx)] = '\0';
    return image;
}

TEST(QrCodeSvgTest, AReaderDecodesTheKeyUriFromTheDrawing) {
    const std::string uri = OtpauthUri("plc 7", "J\xC3\xBCrgen", "JBSWY3DPEHPK3PXPJBSWY3DPEHPK3PXP");
    const std::string svg = QrCodeSvg(uri);
    EXPECT_EQ(svg.find("style"), std::string::npos);
    std::smatch viewBox;
    ASSERT_TRUE(std::regex_search(svg, viewBox, std::regex(R"(viewBox="0 0 (\d+) \1")")));
    const int size = std::stoi(viewBox[1]);
    const auto dark = DarkModules(svg);
    for (const auto& [x, y] : dark) EXPECT_TRUE(x >= 4 && y >= 4 && x < size - 4 && y < size - 4) << "quiet zone " << x << "," << y;

    // zbar, a QR reader of its own, reads what an authenticator app's camera would.
    Kyr::Testing::TempDir folder;
    const auto imagePath = folder.Path() / "qr.pgm";
    std::ofstream(imagePath, std::ios::binary) << PaintedImage(dark, size, 4);
    const std::string command = "zbarimg -q --raw " + imagePath.string() + " 2>/dev/null";
    std::unique_ptr<FILE, int (*)(FILE*)> reader(::popen(command.c_str(), "r"), &::pclose);
    ASSERT_TRUE(reader);
    std::string decoded;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, reader.get())) decoded += buffer;
    EXPECT_EQ(decoded, uri + "\n");
}

} // namespace
} // namespace Kyr::WbmHost
