#pragma once
#include <string>

namespace Kyr::WbmHost {

// The data directory, held by this process while it lives: created (owner only) when missing, then
// locked, so that a second host on the same directory refuses to start instead of serving from
// caches the first one's writes make stale (and removing the first one's files being written);
// then cleared of the temporary files that a crash may have left behind by an atomic write
// ("<file>.tmp-<suffix>"). The kernel lets go of the lock when the process ends, however it ends.
class HeldDataDirectory {
public:
    // Throws std::runtime_error when the directory cannot be made or another process holds it.
    explicit HeldDataDirectory(const std::string& directory);
    ~HeldDataDirectory();
    HeldDataDirectory(const HeldDataDirectory&) = delete;
    HeldDataDirectory& operator=(const HeldDataDirectory&) = delete;

private:
    int lockDescriptor = -1;
};

} // namespace Kyr::WbmHost
