#pragma once
// One-time codes as an authenticator app computes them from the base32 secret it was shown.
#include <gtest/gtest.h>
#include <liboath/oath.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>

namespace Kyr::IntegrationTests {

// The code of the current 30 s step plus `stepOffset`.
inline std::string TotpCode(const std::string& base32Secret, int stepOffset = 0) {
    static const int initialised = oath_init();
    EXPECT_EQ(initialised, OATH_OK);
    char* raw = nullptr;
    size_t length = 0;
    EXPECT_EQ(oath_base32_decode(base32Secret.data(), base32Secret.size(), &raw, &length), OATH_OK);
    std::unique_ptr<char, decltype(&std::free)> owned(raw, &std::free);
    const auto step = static_cast<std::uint64_t>(std::time(nullptr) / 30 + stepOffset);
    char code[8] = {};
    EXPECT_EQ(oath_hotp_generate(raw, length, step, 6, false, OATH_HOTP_DYNAMIC_TRUNCATION, code), OATH_OK);
    return code;
}

} // namespace Kyr::IntegrationTests
