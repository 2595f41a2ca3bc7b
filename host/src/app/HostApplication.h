#pragma once
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "app/HostOptions.h"
#include "net/TlsContext.h"

namespace Kyr::WbmHost {

// The host's life: platform singletons, services, the module and the web server. Run() serves until
// RequestStop(); a device restart asked for by the services (RestartDevice) stops serving once the
// answers in flight are sent, resets and unloads the module, loads and sets it up again and serves
// again on the same address. Sessions end with a restart; the data stay.
class HostApplication {
public:
    explicit HostApplication(HostOptions options);
    // Answers the process exit code: 0 after a requested stop, 1 when the host could not start, and
    // RestartExitStatus for a device restart under a service manager (which starts the host again).
    int Run();
    // Thread-safe; also before or during start-up.
    void RequestStop();
    // Reads the TLS certificate and key again (SIGHUP); open connections keep theirs. Thread-safe.
    void ReloadCertificate();

private:
    void RequestRestart();
    // Blocks until a stop or a restart is asked for; true for a restart.
    bool WaitForStopOrRestart();
    void StartTls();

    HostOptions options;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopRequested = false;
    bool restartRequested = false;
    std::unique_ptr<TlsContext> tlsContext; // set once at start (under `mutex`: the signal thread reads it)
};

} // namespace Kyr::WbmHost
