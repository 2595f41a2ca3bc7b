#pragma once
// A steady clock that the test moves, for the host's pieces with limits of minutes.
#include <chrono>

#include "session/SessionStore.h"

namespace Kyr::WbmHost {

struct FakeClock {
    SteadyClock::time_point now = SteadyClock::time_point() + std::chrono::hours(1000);
    NowFunction Function() { return [this] { return now; }; }
};

} // namespace Kyr::WbmHost
