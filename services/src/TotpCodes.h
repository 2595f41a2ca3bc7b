#pragma once
// Time-based one-time codes (RFC 6238 over RFC 4226's HOTP, HMAC-SHA-1) computed by liboath. Time
// steps are 64-bit counters of 30 s since 1970, so that nothing depends on the width of time_t.
#include <cstdint>
#include <optional>
#include <string>

namespace Kyr::PlatformServices::Totp {

inline constexpr std::int64_t StepSeconds = 30;
inline constexpr unsigned Digits = 6;
inline constexpr std::size_t SecretBytes = 20; // 160 bits, as authenticator apps expect for SHA-1

inline std::uint64_t StepAt(std::int64_t unixSeconds) {
    return unixSeconds < 0 ? 0 : static_cast<std::uint64_t>(unixSeconds / StepSeconds);
}

// The code of time step `step` for the raw `secret`, `digits` long (6 to 8).
std::string CodeAt(const std::string& secret, std::uint64_t step, unsigned digits = Digits);

// The step that `code` belongs to among `currentStep` - 1, `currentStep` and `currentStep` + 1,
// leaving out every step up to `lastAcceptedStep` (a code is never accepted twice, nor an older one).
// Nothing when it matches none of them or is not six digits.
std::optional<std::uint64_t> AcceptedStep(const std::string& secret, const std::string& code, std::uint64_t currentStep,
                                          std::optional<std::uint64_t> lastAcceptedStep);

// 160 random bits.
std::string NewSecret();
// RFC 4648 base32 without padding (what otpauth:// URIs carry), and back (nothing when invalid).
std::string ToBase32(const std::string& raw);
std::optional<std::string> FromBase32(const std::string& text);

} // namespace Kyr::PlatformServices::Totp
