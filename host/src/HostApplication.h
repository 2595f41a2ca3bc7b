#pragma once
#include <atomic>
#include <mutex>

#include <httplib.h>

#include "HostOptions.h"

namespace Kyr::WbmHost {

// The host's life: platform singletons, services, the module and the HTTP server. Run() serves until
// RequestStop(); a device restart asked for by the services (RestartDevice) stops serving once the
// answers in flight are sent, resets and unloads the module, loads and sets it up again and serves
// again on the same address. Sessions end with a restart; the data stay.
class HostApplication {
public:
    explicit HostApplication(HostOptions options);
    // Answers the process exit code: 0 after a requested stop, 1 when the host could not start.
    int Run();
    // Thread-safe; also before or during start-up.
    void RequestStop();

private:
    void RequestRestart();
    void StopServing();

    HostOptions options;
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> restartRequested{false};
    std::mutex serverMutex;
    httplib::Server* currentServer = nullptr;
};

} // namespace Kyr::WbmHost
