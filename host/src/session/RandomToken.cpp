#include "session/RandomToken.h"

#include <sodium.h>

#include <stdexcept>
#include <vector>

namespace Kyr::WbmHost {

namespace {
void EnsureSodium() {
    // sodium_init is idempotent; the static makes concurrent first use safe and cheap afterwards.
    static const bool ready = sodium_init() >= 0;
    if (!ready) throw std::runtime_error("libsodium could not be initialised");
}
} // namespace

Kyr::String RandomHexToken(std::size_t byteCount) {
    EnsureSodium();
    std::vector<unsigned char> bytes(byteCount);
    randombytes_buf(bytes.data(), bytes.size());
    Kyr::String hex(byteCount * 2 + 1, '\0');
    sodium_bin2hex(hex.data(), hex.size(), bytes.data(), bytes.size());
    hex.resize(byteCount * 2);
    sodium_memzero(bytes.data(), bytes.size());
    return hex;
}

bool SecretsEqual(const Kyr::String& a, const Kyr::String& b) {
    if (a.size() != b.size() || a.empty()) return false;
    EnsureSodium();
    return sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace Kyr::WbmHost
