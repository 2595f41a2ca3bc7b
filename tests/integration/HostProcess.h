#pragma once
#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "fakes/TempDir.h"

namespace Kyr::IntegrationTests {

using Kyr::Testing::FilesContaining;
using Kyr::Testing::TempDir;

// The built wbm-host as a child process on a free loopback port, with the minimum hash cost and
// its stderr in "<data directory>.host.log"; over plain HTTP (--no-tls) unless `tls` is set. The
// destructor stops it.
class HostProcess {
public:
    HostProcess(const std::filesystem::path& dataDirectory, std::vector<std::string> extraArguments = {}, bool tls = false);
    ~HostProcess() { Stop(); }
    int Port() const { return port; }
    bool Tls() const { return tls; }
    pid_t Pid() const { return pid; }
    // What the host printed on stdout up to the line with its address (the initial password, ...).
    const std::vector<std::string>& StartLines() const { return startLines; }
    bool IsRunning();
    int Stop(); // SIGTERM, bounded wait; the exit status, or -1 when it had to be killed
    std::string LogText() const;

private:
    pid_t pid = -1;
    FILE* stdoutFile = nullptr;
    int port = 0;
    bool tls = false;
    bool reaped = false; // ended, and its status taken by IsRunning()
    int reapedStatus = 0;
    std::filesystem::path logPath;
    std::vector<std::string> startLines;
};

} // namespace Kyr::IntegrationTests
