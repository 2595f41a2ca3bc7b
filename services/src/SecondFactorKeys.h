#pragma once
// The keys of the second factor, derived from the device key in the data directory (32 random bytes,
// the owner's only, made on first need): one encrypts the users' secrets (secretbox), one hashes the
// recovery codes (keyed BLAKE2b). Without the key file the database alone reveals neither.
#include <array>
#include <optional>
#include <string>

namespace Kyr::PlatformServices {

class SecondFactorKeys {
public:
    // Reads the device key at `keyPath`, or makes and stores it when the file is missing.
    explicit SecondFactorKeys(const std::string& keyPath);
    ~SecondFactorKeys();
    SecondFactorKeys(const SecondFactorKeys&) = delete;
    SecondFactorKeys& operator=(const SecondFactorKeys&) = delete;

    // Nonce and ciphertext, as hex.
    std::string Seal(const std::string& secret) const;
    // Nothing when `sealed` was not made by Seal under this key (or was altered).
    std::optional<std::string> Open(const std::string& sealed) const;
    // A keyed hash of a recovery code, as hex.
    std::string RecoveryCodeHash(const std::string& code) const;

    static constexpr std::size_t KeyBytes = 32;

private:
    std::array<unsigned char, KeyBytes> secretKey{};
    std::array<unsigned char, KeyBytes> recoveryKey{};
};

} // namespace Kyr::PlatformServices
