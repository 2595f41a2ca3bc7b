#include "net/ConnectionLimits.h"

namespace Kyr::WbmHost {

std::unique_ptr<ConnectionLimits::Slot> ConnectionLimits::TryAcquire(const std::string& address) {
    std::lock_guard<std::mutex> lock(mutex);
    if (total >= maxTotal) return nullptr;
    std::size_t& fromAddress = perAddress[address];
    if (fromAddress >= maxPerAddress) return nullptr;
    ++fromAddress;
    ++total;
    return std::make_unique<Slot>(*this, address);
}

void ConnectionLimits::Release(const std::string& address) {
    std::lock_guard<std::mutex> lock(mutex);
    --total;
    auto it = perAddress.find(address);
    if (it != perAddress.end() && --it->second == 0) perAddress.erase(it);
}

std::size_t ConnectionLimits::Open() const {
    std::lock_guard<std::mutex> lock(mutex);
    return total;
}

} // namespace Kyr::WbmHost
