#include "OneCpu.h"

#include <sched.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace Kyr::WebBench {

struct OneCpu::Saved {
    pid_t thread;
    cpu_set_t cpus;
};

namespace {
std::vector<pid_t> ThreadsOf(const std::string& process) {
    std::vector<pid_t> threads;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + process + "/task", error))
        threads.push_back(static_cast<pid_t>(std::stol(entry.path().filename().string())));
    return threads;
}
} // namespace

OneCpu::OneCpu(pid_t server, int cpu) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(cpu, &one);
    std::vector<pid_t> threads = ThreadsOf("self");
    for (pid_t thread : ThreadsOf(std::to_string(server))) threads.push_back(thread);
    for (pid_t thread : threads) {
        Saved before{thread, {}};
        if (sched_getaffinity(thread, sizeof before.cpus, &before.cpus) != 0) continue;
        if (sched_setaffinity(thread, sizeof one, &one) != 0) {
            pinned = false;
            continue;
        }
        saved.push_back(before);
    }
}

OneCpu::~OneCpu() {
    for (const Saved& before : saved) sched_setaffinity(before.thread, sizeof before.cpus, &before.cpus);
}

} // namespace Kyr::WebBench
