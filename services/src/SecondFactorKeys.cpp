#include "SecondFactorKeys.h"

#include <sodium.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "AtomicFile.h"

namespace Kyr::PlatformServices {

namespace {

static_assert(crypto_secretbox_KEYBYTES == SecondFactorKeys::KeyBytes);
static_assert(crypto_kdf_KEYBYTES == SecondFactorKeys::KeyBytes);

// The KDF's context names what a sub-key is for (exactly 8 characters).
constexpr char KdfContext[crypto_kdf_CONTEXTBYTES + 1] = "2ndfactr";
constexpr std::uint64_t SecretKeyId = 1;
constexpr std::uint64_t RecoveryKeyId = 2;

std::string DeviceKey(const std::string& path) {
    std::string key;
    int error = ReadWholeFile(path, key, 1024);
    if (error == ENOENT) {
        key.assign(SecondFactorKeys::KeyBytes, '\0');
        randombytes_buf(key.data(), key.size());
        // Temporary file, mode 0600, renamed into place: never a half-written key.
        error = WriteFileAtomically(path, key);
        if (error) sodium_memzero(key.data(), key.size());
    }
    if (error) throw std::runtime_error("Cannot read or create the second-factor key " + path + ": " + std::strerror(error));
    if (key.size() != SecondFactorKeys::KeyBytes) throw std::runtime_error("The second-factor key " + path + " is damaged");
    return key;
}

std::string ToHex(const unsigned char* data, std::size_t size) {
    std::string hex(size * 2 + 1, '\0');
    sodium_bin2hex(hex.data(), hex.size(), data, size);
    hex.pop_back();
    return hex;
}

std::optional<std::vector<unsigned char>> FromHex(const std::string& hex) {
    std::vector<unsigned char> bytes(hex.size() / 2);
    size_t length = 0;
    if (hex.size() % 2 != 0 ||
        sodium_hex2bin(bytes.data(), bytes.size(), hex.data(), hex.size(), nullptr, &length, nullptr) != 0 ||
        length != bytes.size())
        return std::nullopt;
    return bytes;
}

} // namespace

SecondFactorKeys::SecondFactorKeys(const std::string& keyPath) {
    if (sodium_init() < 0) throw std::runtime_error("libsodium cannot be initialised");
    std::string master = DeviceKey(keyPath);
    const auto* masterBytes = reinterpret_cast<const unsigned char*>(master.data());
    crypto_kdf_derive_from_key(secretKey.data(), secretKey.size(), SecretKeyId, KdfContext, masterBytes);
    crypto_kdf_derive_from_key(recoveryKey.data(), recoveryKey.size(), RecoveryKeyId, KdfContext, masterBytes);
    sodium_memzero(master.data(), master.size());
}

SecondFactorKeys::~SecondFactorKeys() {
    sodium_memzero(secretKey.data(), secretKey.size());
    sodium_memzero(recoveryKey.data(), recoveryKey.size());
}

std::string SecondFactorKeys::Seal(const std::string& secret) const {
    std::vector<unsigned char> sealed(crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES + secret.size());
    randombytes_buf(sealed.data(), crypto_secretbox_NONCEBYTES);
    crypto_secretbox_easy(sealed.data() + crypto_secretbox_NONCEBYTES, reinterpret_cast<const unsigned char*>(secret.data()),
                          secret.size(), sealed.data(), secretKey.data());
    return ToHex(sealed.data(), sealed.size());
}

std::optional<std::string> SecondFactorKeys::Open(const std::string& sealed) const {
    auto bytes = FromHex(sealed);
    if (!bytes || bytes->size() < crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES) return std::nullopt;
    const std::size_t cipherSize = bytes->size() - crypto_secretbox_NONCEBYTES;
    std::string secret(cipherSize - crypto_secretbox_MACBYTES, '\0');
    if (crypto_secretbox_open_easy(reinterpret_cast<unsigned char*>(secret.data()), bytes->data() + crypto_secretbox_NONCEBYTES,
                                   cipherSize, bytes->data(), secretKey.data()) != 0)
        return std::nullopt;
    return secret;
}

std::string SecondFactorKeys::RecoveryCodeHash(const std::string& code) const {
    unsigned char hash[crypto_generichash_BYTES];
    crypto_generichash(hash, sizeof hash, reinterpret_cast<const unsigned char*>(code.data()), code.size(), recoveryKey.data(),
                       recoveryKey.size());
    return ToHex(hash, sizeof hash);
}

} // namespace Kyr::PlatformServices
