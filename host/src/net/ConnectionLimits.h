#pragma once
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace Kyr::WbmHost {

// Counts open connections, in all and per client address. A slot is taken when a connection is
// accepted and given back when it ends; none is given beyond the limits. Thread-safe.
class ConnectionLimits {
public:
    class Slot;
    ConnectionLimits(std::size_t maxTotal, std::size_t maxPerAddress) : maxTotal(maxTotal), maxPerAddress(maxPerAddress) {}

    // A slot for a connection from `address`, or nothing when a limit is reached.
    std::unique_ptr<Slot> TryAcquire(const std::string& address);
    std::size_t Open() const;

private:
    void Release(const std::string& address);

    const std::size_t maxTotal;
    const std::size_t maxPerAddress;
    mutable std::mutex mutex;
    std::size_t total = 0;
    std::unordered_map<std::string, std::size_t> perAddress;
};

class ConnectionLimits::Slot {
public:
    Slot(ConnectionLimits& limits, std::string address) : limits(limits), address(std::move(address)) {}
    ~Slot() { limits.Release(address); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    const std::string& Address() const { return address; }

private:
    ConnectionLimits& limits;
    std::string address;
};

} // namespace Kyr::WbmHost
