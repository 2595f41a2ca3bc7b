#pragma once
// Argon2id password hashes in libsodium's self-describing string form (algorithm, cost and salt are
// part of the stored text, so a change of cost keeps old hashes verifiable).
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>

namespace Kyr::PlatformServices {

class PasswordHasher {
public:
    // `storedDummyHash`: the dummy hash kept from an earlier start; a new one is made (one full hash)
    // when it is missing or of another cost.
    PasswordHasher(unsigned long long opsLimit, std::size_t memLimit, const std::string& storedDummyHash = {});

    std::string Hash(const std::string& password) const;
    bool Verify(const std::string& hash, const std::string& password) const;
    // Whether a stored hash was made with other parameters than the current ones.
    bool NeedsRehash(const std::string& hash) const;
    // Verifies against a hash of random bytes: makes a check for an unknown user cost the same time.
    void VerifyDummy(const std::string& password) const;
    const std::string& DummyHash() const { return dummyHash; }

    // A random password meeting the usual composition rules (upper, lower, digit, symbol).
    static std::string GeneratePassword(std::size_t length);

private:
    // Each hash takes `memLimit` bytes: at most this many run at once, so that a flood of logins
    // queues instead of taking the device's memory.
    static constexpr int MaxConcurrentHashes = 2;
    class Slot;

    unsigned long long opsLimit;
    std::size_t memLimit;
    std::string dummyHash;
    mutable std::mutex slotMutex;
    mutable std::condition_variable slotFreed;
    mutable int hashesRunning = 0;
};

} // namespace Kyr::PlatformServices
