#pragma once
#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Kyr::IntegrationTests {

// A temporary directory, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::filesystem::path& Path() const { return path; }

private:
    std::filesystem::path path;
};

// The built wbm-host running as a child on a free loopback port, with the minimum hash cost.
// The destructor stops it.
class HostProcess {
public:
    HostProcess(const std::filesystem::path& dataDirectory, std::vector<std::string> extraArguments = {});
    ~HostProcess();
    int Port() const { return port; }
    // Lines the host printed on stdout before it listened (the initial password, the address).
    const std::vector<std::string>& StartLines() const { return startLines; }
    bool IsRunning();
    // SIGTERM, then waits (bounded); the exit status, or -1 when it had to be killed.
    int Stop();
    std::string LogText() const; // everything written to stderr so far

private:
    pid_t pid = -1;
    int stdoutFd = -1;
    int port = 0;
    std::filesystem::path logPath;
    std::vector<std::string> startLines;
};

// Sends `request` as it is over a new connection and answers what comes back until the host closes
// the connection or half a second passes in silence.
std::string RawExchange(int port, const std::string& request);

// Every file below `directory` whose content contains `text`.
std::vector<std::filesystem::path> FilesContaining(const std::filesystem::path& directory, const std::string& text);

} // namespace Kyr::IntegrationTests
