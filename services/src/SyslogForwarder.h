#pragma once
// Forwards audit records to a syslog collector from its own thread. Callers only put a record into a
// bounded queue: a collector that is down or slow never holds them up; what does not fit is dropped
// and counted. When the collector is reachable again after a failure, `resumed` is called (on the
// forwarder's thread) with the records dropped meanwhile, to record that event; that record is
// queued even when the queue is full.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "Kyr/PlatformServices/Audit.h"
#include "SyslogConnection.h"

namespace Kyr::PlatformServices {

class SyslogForwarder {
public:
    using ResumedHandler = std::function<void(std::uint64_t droppedMeanwhile, const std::string& failure)>;

    // `trustStoreFolder` is used for TLS targets; throws SyslogError when its certificates cannot be loaded.
    SyslogForwarder(SyslogTarget target, const std::string& trustStoreFolder, std::size_t queueLength,
                    ResumedHandler resumed);
    // Sends what is queued while the collector is connected (each send bounded by the timeout), then stops.
    ~SyslogForwarder();
    SyslogForwarder(const SyslogForwarder&) = delete;
    SyslogForwarder& operator=(const SyslogForwarder&) = delete;

    void Enqueue(const AuditRecord& record); // never waits for the network
    std::uint64_t Drops() const { return drops.load(); }

private:
    void Run();
    bool SendFront(std::unique_ptr<SyslogConnection>& connection); // false: connection lost
    std::unique_ptr<SyslogConnection> Connect(std::string& failure);

    const SyslogTarget target;
    const std::shared_ptr<SSL_CTX> tls;
    const std::size_t queueLength;
    const ResumedHandler resumed;
    const std::string hostName;

    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::string> queue; // framed messages
    bool stopping = false;
    std::atomic<std::uint64_t> drops{0};
    std::uint64_t dropsAtFailure = 0;
    std::thread sender; // last: starts after everything above exists
};

} // namespace Kyr::PlatformServices
