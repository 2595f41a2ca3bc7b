#include "HostProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace Kyr::IntegrationTests {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {
// A cross build's tests run under an emulator (qemu-user), which cannot start a program of the
// target itself: the host is then started through the emulator ("program option …", by spaces).
#ifndef KYR_HOST_EMULATOR
#define KYR_HOST_EMULATOR ""
#endif
std::vector<std::string> EmulatorCommand() {
    std::vector<std::string> words;
    std::istringstream text(KYR_HOST_EMULATOR);
    for (std::string word; text >> word;) words.push_back(word);
    return words;
}
} // namespace

HostProcess::HostProcess(const fs::path& dataDirectory, std::vector<std::string> extraArguments, bool tls)
    : tls(tls), logPath(dataDirectory.string() + ".host.log") {
    std::vector<std::string> arguments = {KYR_BUILD_BIN_DIR "/wbm-host", "--listen", "127.0.0.1:0",
                                          "--data-dir", dataDirectory.string(),
                                          "--module", KYR_BUILD_LIB_DIR "/libKyr.Services.Modules.Wbm.Um.so",
                                          "--settings", KYR_SOURCE_DIR "/settings/UmWbmModuleSettings.xml",
                                          "--web-root", KYR_SOURCE_DIR "/web", "--hash-cost", "min"};
    if (!tls) arguments.push_back("--no-tls");
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    const std::vector<std::string> emulator = EmulatorCommand();
    arguments.insert(arguments.begin(), emulator.begin(), emulator.end());
    std::vector<char*> argv; // built before fork: the child may only make async-signal-safe calls
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const std::string log = logPath.string();
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    pid = fork();
    if (pid == 0) {
        dup2(fds[1], STDOUT_FILENO);
        dup2(open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(fds[1]);
    stdoutFile = fdopen(fds[0], "r");
    // Blocks until the address is printed or the host ends (the test's time limit guards a hang).
    const std::string listening = tls ? "Listening on https://127.0.0.1:" : "Listening on http://127.0.0.1:";
    char line[512];
    while (port == 0 && fgets(line, sizeof line, stdoutFile) != nullptr) {
        startLines.emplace_back(line, std::strcspn(line, "\n"));
        if (startLines.back().rfind(listening, 0) == 0) port = std::stoi(startLines.back().substr(listening.size()));
    }
    if (port == 0) {
        Stop();
        throw std::runtime_error("wbm-host did not start; its log:\n" + LogText());
    }
}

bool HostProcess::IsRunning() {
    if (pid <= 0 || reaped) return false;
    const pid_t result = waitpid(pid, &reapedStatus, WNOHANG);
    reaped = result == pid;
    return result == 0;
}

int HostProcess::Stop() {
    if (pid <= 0) return -1;
    int status = reapedStatus;
    if (!reaped) kill(pid, SIGTERM);
    const auto deadline = Clock::now() + std::chrono::seconds(20);
    while (!reaped && waitpid(pid, &status, WNOHANG) != pid) {
        if (Clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    pid = -1;
    std::fclose(stdoutFile);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string HostProcess::LogText() const { return Kyr::Testing::ReadFileText(logPath); }

} // namespace Kyr::IntegrationTests
