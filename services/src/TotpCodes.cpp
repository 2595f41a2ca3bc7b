#include "TotpCodes.h"

#include <liboath/oath.h>
#include <sodium.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace Kyr::PlatformServices::Totp {

namespace {

// liboath's one-time initialisation (its crypto back end); idempotent, and never undone while the
// process runs.
void InitialiseOnce() {
    static const int initialised = oath_init();
    if (initialised != OATH_OK) throw std::runtime_error("liboath cannot be initialised");
}

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};

bool IsSixDigits(const std::string& code) {
    return code.size() == Digits && std::all_of(code.begin(), code.end(), [](unsigned char c) { return std::isdigit(c); });
}

} // namespace

std::string CodeAt(const std::string& secret, std::uint64_t step, unsigned digits) {
    InitialiseOnce();
    char output[16] = {};
    if (oath_hotp_generate(secret.data(), secret.size(), step, digits, false, OATH_HOTP_DYNAMIC_TRUNCATION, output) != OATH_OK)
        throw std::runtime_error("Cannot compute a one-time code");
    return output;
}

std::optional<std::uint64_t> AcceptedStep(const std::string& secret, const std::string& code, std::uint64_t currentStep,
                                          std::optional<std::uint64_t> lastAcceptedStep) {
    if (!IsSixDigits(code)) return std::nullopt;
    InitialiseOnce();
    std::uint64_t first = currentStep == 0 ? 0 : currentStep - 1;
    if (lastAcceptedStep) first = std::max(first, *lastAcceptedStep + 1);
    const std::uint64_t last = currentStep + 1;
    if (first > last) return std::nullopt;
    // oath_hotp_validate tries the counters first .. first + window and answers the position of the match.
    const int position = oath_hotp_validate(secret.data(), secret.size(), first, static_cast<size_t>(last - first), code.c_str());
    if (position < 0) return std::nullopt;
    return first + static_cast<std::uint64_t>(position);
}

std::string NewSecret() {
    if (sodium_init() < 0) throw std::runtime_error("libsodium cannot be initialised");
    std::string secret(SecretBytes, '\0');
    randombytes_buf(secret.data(), secret.size());
    return secret;
}

std::string ToBase32(const std::string& raw) {
    InitialiseOnce();
    char* encoded = nullptr;
    size_t length = 0;
    if (oath_base32_encode(raw.data(), raw.size(), &encoded, &length) != OATH_OK) throw std::runtime_error("Cannot encode base32");
    std::unique_ptr<char, FreeDeleter> owned(encoded);
    std::string text(encoded, length);
    text.erase(std::remove(text.begin(), text.end(), '='), text.end());
    return text;
}

std::optional<std::string> FromBase32(const std::string& text) {
    InitialiseOnce();
    char* decoded = nullptr;
    size_t length = 0;
    if (oath_base32_decode(text.data(), text.size(), &decoded, &length) != OATH_OK) return std::nullopt;
    std::unique_ptr<char, FreeDeleter> owned(decoded);
    return std::string(decoded, length);
}

} // namespace Kyr::PlatformServices::Totp
