#pragma once
#include <mutex>

#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Commons {

class KYR_API Mutex {
public:
    void Lock() { mutex.lock(); }
    void Unlock() { mutex.unlock(); }
    // Lockable, so that std::lock_guard<Mutex> works.
    void lock() { mutex.lock(); }
    void unlock() { mutex.unlock(); }

private:
    std::mutex mutex;
};

using MutexLock = std::lock_guard<Mutex>;

} // namespace Kyr::System::Commons
