#include "PasswordHasher.h"

#include <sodium.h>

#include <stdexcept>

namespace Kyr::PlatformServices {

namespace {
void EnsureSodium() {
    // sodium_init is safe to call more than once and from several threads.
    if (sodium_init() < 0) throw std::runtime_error("libsodium cannot be initialised");
}
} // namespace

// Holds one of the hasher's slots for its lifetime.
class PasswordHasher::Slot {
public:
    explicit Slot(const PasswordHasher& hasher) : hasher(hasher) {
        std::unique_lock<std::mutex> lock(hasher.slotMutex);
        hasher.slotFreed.wait(lock, [&] { return hasher.hashesRunning < MaxConcurrentHashes; });
        ++hasher.hashesRunning;
    }
    ~Slot() {
        {
            std::lock_guard<std::mutex> lock(hasher.slotMutex);
            --hasher.hashesRunning;
        }
        hasher.slotFreed.notify_one();
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

private:
    const PasswordHasher& hasher;
};

PasswordHasher::PasswordHasher(unsigned long long opsLimit, std::size_t memLimit, const std::string& storedDummyHash)
    : opsLimit(opsLimit), memLimit(memLimit) {
    EnsureSodium();
    if (opsLimit < crypto_pwhash_OPSLIMIT_MIN || memLimit < crypto_pwhash_MEMLIMIT_MIN)
        throw std::invalid_argument("Password hash cost below the minimum");
    if (storedDummyHash.rfind("$argon2id$", 0) == 0 && !NeedsRehash(storedDummyHash)) {
        dummyHash = storedDummyHash;
        return;
    }
    unsigned char random[32];
    randombytes_buf(random, sizeof random);
    dummyHash = Hash(std::string(reinterpret_cast<const char*>(random), sizeof random));
}

std::string PasswordHasher::Hash(const std::string& password) const {
    char out[crypto_pwhash_STRBYTES];
    Slot slot(*this);
    if (crypto_pwhash_str_alg(out, password.data(), password.size(), opsLimit, memLimit,
                              crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw std::runtime_error("Password hashing failed (out of memory)");
    return out;
}

bool PasswordHasher::Verify(const std::string& hash, const std::string& password) const {
    Slot slot(*this);
    return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

bool PasswordHasher::NeedsRehash(const std::string& hash) const {
    return crypto_pwhash_str_needs_rehash(hash.c_str(), opsLimit, memLimit) != 0;
}

void PasswordHasher::VerifyDummy(const std::string& password) const { (void)Verify(dummyHash, password); }

std::string PasswordHasher::GeneratePassword(std::size_t length) {
    EnsureSodium();
    // Symbols that need no escaping in a URL query, a JSON string or a quoted shell word, so that the
    // printed password can be typed into a curl command as it is.
    static const std::string groups[] = {"ABCDEFGHJKLMNPQRSTUVWXYZ", "abcdefghijkmnopqrstuvwxyz", "23456789", "-._~"};
    std::string all;
    for (const std::string& group : groups) all += group;
    std::string password;
    // One of each group first, the rest from all; then shuffle so the groups' places are random.
    for (const std::string& group : groups) password += group[randombytes_uniform(static_cast<std::uint32_t>(group.size()))];
    while (password.size() < length) password += all[randombytes_uniform(static_cast<std::uint32_t>(all.size()))];
    for (std::size_t i = password.size(); i > 1; --i)
        std::swap(password[i - 1], password[randombytes_uniform(static_cast<std::uint32_t>(i))]);
    return password;
}

} // namespace Kyr::PlatformServices
