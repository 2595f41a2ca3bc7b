// wbm-host: serves the user-management module over HTTP until SIGINT or SIGTERM.
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <filesystem>
#include <iostream>
#include <thread>
#include <vector>

#include "HostApplication.h"
#include "HostOptions.h"

int main(int argc, char** argv) {
    std::vector<Kyr::String> arguments(argv + 1, argv + argc);
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    auto parsed = Kyr::WbmHost::ParseHostOptions(arguments, error ? Kyr::String(argv[0]) : executable.string());
    if (!parsed.options) {
        (parsed.isError ? std::cerr : std::cout) << parsed.message;
        return parsed.isError ? 2 : 0;
    }

    // Signals are taken by one thread with sigwait, so that stopping runs as ordinary code. The
    // mask is set before any other thread exists and is inherited by all of them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN); // a client that goes away must not end the host

    Kyr::WbmHost::HostApplication application(*parsed.options);
    std::atomic<bool> finished{false};
    std::thread signalThread([&] {
        int received = 0;
        sigwait(&stopSignals, &received);
        if (!finished) application.RequestStop();
    });

    const int exitCode = application.Run();
    finished = true;
    pthread_kill(signalThread.native_handle(), SIGTERM); // wakes the signal thread if it still waits
    signalThread.join();
    return exitCode;
}
