// wbm-host: serves the user-management module over HTTPS until SIGINT or SIGTERM; SIGHUP reads the
// TLS certificate again.
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <iostream>
#include <thread>
#include <vector>

#include "app/HostApplication.h"
#include "app/HostOptions.h"

int main(int argc, char** argv) {
    std::vector<Kyr::String> arguments(argv + 1, argv + argc);
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    auto parsed = Kyr::WbmHost::ParseHostOptions(arguments, error ? Kyr::String(argv[0]) : executable.string());
    if (!parsed.options) {
        (parsed.isError ? std::cerr : std::cout) << parsed.message;
        return parsed.isError ? 2 : 0;
    }

    // Everything the host writes (database, keys, logs) is for its own user only.
    umask(077);
    // Each connection is a descriptor: allow as many as the system lets this process have.
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur < files.rlim_max) {
        files.rlim_cur = files.rlim_max;
        setrlimit(RLIMIT_NOFILE, &files);
    }

    // Signals are taken by one thread with sigwait, so that stopping runs as ordinary code. The
    // mask is set before any other thread exists and is inherited by all of them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN); // a client that goes away must not end the host

    Kyr::WbmHost::HostApplication application(*parsed.options);
    std::atomic<bool> finished{false};
    std::thread signalThread([&] {
        for (;;) {
            int received = 0;
            sigwait(&signals, &received);
            if (finished) return;
            if (received != SIGHUP) return application.RequestStop();
            application.ReloadCertificate();
        }
    });

    const int exitCode = application.Run();
    finished = true;
    pthread_kill(signalThread.native_handle(), SIGTERM); // wakes the signal thread if it still waits
    signalThread.join();
    return exitCode;
}
