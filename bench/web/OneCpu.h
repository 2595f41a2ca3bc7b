#pragma once
#include <sys/types.h>

#include <vector>

namespace Kyr::WebBench {

// While it lives, every thread of the calling process and of `server` runs on one CPU, so that an
// answer never waits for a sleeping CPU to wake up: the ping-pong of one connection then costs what
// the client and the server compute, not what the scheduler (in a virtual machine: the hypervisor)
// takes to wake the other CPU. The threads' CPU sets are given back at the end.
class OneCpu {
public:
    OneCpu(pid_t server, int cpu);
    ~OneCpu();
    OneCpu(const OneCpu&) = delete;
    OneCpu& operator=(const OneCpu&) = delete;
    bool Pinned() const { return pinned; }

private:
    struct Saved;
    std::vector<Saved> saved;
    bool pinned = true;
};

} // namespace Kyr::WebBench
