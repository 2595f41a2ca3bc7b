#pragma once
// Argon2id password hashes in libsodium's self-describing string form (algorithm, cost and salt are
// part of the stored text, so a change of cost keeps old hashes verifiable).
#include <cstddef>
#include <string>

namespace Kyr::PlatformServices {

class PasswordHasher {
public:
    PasswordHasher(unsigned long long opsLimit, std::size_t memLimit);

    std::string Hash(const std::string& password) const;
    bool Verify(const std::string& hash, const std::string& password) const;
    // Whether a stored hash was made with other parameters than the current ones.
    bool NeedsRehash(const std::string& hash) const;
    // Verifies against a hash of random bytes: makes a check for an unknown user cost the same time.
    void VerifyDummy(const std::string& password) const;

    // A random password meeting the usual composition rules (upper, lower, digit, symbol).
    static std::string GeneratePassword(std::size_t length);

private:
    unsigned long long opsLimit;
    std::size_t memLimit;
    std::string dummyHash;
};

} // namespace Kyr::PlatformServices
