#include "ServerProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace Kyr::WebBench {

namespace {

std::string ReadFile(const std::string& file) {
    std::ifstream input(file);
    std::stringstream text;
    text << input.rdbuf();
    return text.str();
}

} // namespace

ServerProcess::ServerProcess(const std::vector<std::string>& command, const std::string& logFolder,
                             const std::string& name) {
    if (command.empty()) throw std::invalid_argument("empty command");
    std::string outputFile = logFolder + "/" + name + ".out", errorFile = logFolder + "/" + name + ".err";
    // Everything the child needs is prepared before fork(): the child only redirects and execs.
    std::vector<char*> arguments;
    for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    int output = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    int error = open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (output < 0 || error < 0) throw std::runtime_error("cannot create the log files in " + logFolder);
    pid = fork();
    if (pid == 0) {
        dup2(output, STDOUT_FILENO);
        dup2(error, STDERR_FILENO);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(output);
    close(error);
    if (pid < 0) throw std::runtime_error("fork failed");
    try {
        endpoint = WaitUntilListening(outputFile, errorFile);
    } catch (...) {
        Stop();
        throw;
    }
}

ServerProcess::~ServerProcess() { Stop(); }

Endpoint ServerProcess::WaitUntilListening(const std::string& outputFile, const std::string& errorFile) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < deadline) {
        std::istringstream lines(ReadFile(outputFile));
        for (std::string line; std::getline(lines, line);)
            if (line.rfind("Listening on ", 0) == 0) return ParseListeningLine(line);
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid) {
            pid = -1;
            throw std::runtime_error("the server stopped before listening: " + ReadFile(errorFile));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    throw std::runtime_error("the server did not listen within 60 s: " + ReadFile(errorFile));
}

std::optional<long> ServerProcess::StatusKiB(const std::string& field) const {
    if (pid <= 0) return std::nullopt;
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(field + ":", 0) == 0) return std::stol(line.substr(field.size() + 1));
    }
    return std::nullopt;
}

double ServerProcess::CpuSeconds() const {
    if (pid <= 0) return 0;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    // Fields after the command name (which may hold spaces, hence the last ')'): state is field 3,
    // utime and stime are fields 14 and 15.
    auto close = text.rfind(')');
    if (close == std::string::npos) return 0;
    std::istringstream fields(text.substr(close + 2));
    std::string field;
    unsigned long long user = 0, system = 0;
    for (int number = 3; number <= 15 && fields >> field; ++number) {
        if (number == 14) user = std::stoull(field);
        if (number == 15) system = std::stoull(field);
    }
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

bool ServerProcess::ResetPeak() const {
    if (pid <= 0) return false;
    std::ofstream clear("/proc/" + std::to_string(pid) + "/clear_refs");
    clear << "5";
    clear.flush();
    return static_cast<bool>(clear);
}

void ServerProcess::Stop() {
    if (pid <= 0) return;
    kill(pid, SIGTERM);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    pid = -1;
}

} // namespace Kyr::WebBench
