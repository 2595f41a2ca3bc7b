#pragma once
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "Endpoint.h"

namespace Kyr::WebBench {

// A server under test, run as a child process: its standard output and error go to files in
// `logFolder` (a full pipe must never stall it), and it is ready when it prints "Listening on ...".
// Stopped with SIGTERM (then SIGKILL after a grace) when destroyed.
class ServerProcess {
public:
    ServerProcess(const std::vector<std::string>& command, const std::string& logFolder, const std::string& name);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    const Endpoint& Address() const { return endpoint; }
    pid_t Pid() const { return pid; }
    // Fields of /proc/PID/status in KiB ("VmRSS", "VmHWM"); nullopt when the process is gone.
    std::optional<long> StatusKiB(const std::string& field) const;
    // User and system CPU time the process has used so far, in seconds (all its threads).
    double CpuSeconds() const;
    // Starts the peak (VmHWM) again from the current RSS; false when the kernel refuses.
    bool ResetPeak() const;
    void Stop();

private:
    Endpoint WaitUntilListening(const std::string& outputFile, const std::string& errorFile);

    pid_t pid = -1;
    Endpoint endpoint;
};

} // namespace Kyr::WebBench
