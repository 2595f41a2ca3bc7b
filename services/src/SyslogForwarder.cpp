#include "SyslogForwarder.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "AuditText.h"
#include "Kyr/PlatformServices/AuditEvents.h"

namespace Kyr::PlatformServices {

namespace {

constexpr std::chrono::milliseconds NetworkTimeout{2000};
constexpr std::chrono::milliseconds FirstRetry{250};
constexpr std::chrono::milliseconds LongestRetry{4000};
constexpr const char* AppName = "wbm-host";

std::string LocalHostName() {
    char name[256] = {};
    if (::gethostname(name, sizeof name - 1) != 0) return "-";
    return name;
}

} // namespace

SyslogForwarder::SyslogForwarder(SyslogTarget target, const std::string& trustStoreFolder, std::size_t queueLength,
                                 ResumedHandler resumed)
    : target(std::move(target)),
      tls(this->target.tls ? MakeSyslogTlsContext(trustStoreFolder) : nullptr),
      queueLength(std::max<std::size_t>(queueLength, 1)),
      resumed(std::move(resumed)),
      hostName(LocalHostName()),
      sender([this] { Run(); }) {}

SyslogForwarder::~SyslogForwarder() {
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    sender.join();
}

void SyslogForwarder::Enqueue(const AuditRecord& record) {
    std::string framed = FrameOctetCounted(SyslogMessage(record, hostName, AppName, static_cast<long>(::getpid())));
    {
        std::lock_guard<std::mutex> lock(mutex);
        // The record of a resumption always gets in: it tells the collector about the gap.
        if (queue.size() >= queueLength && record.eventId != AuditEvents::ForwardingResumed) {
            ++drops;
            return;
        }
        queue.push_back(std::move(framed));
    }
    wake.notify_one();
}

std::unique_ptr<SyslogConnection> SyslogForwarder::Connect(std::string& failure) {
    try {
        return std::make_unique<SyslogConnection>(target, tls, NetworkTimeout);
    } catch (const SyslogError& error) {
        failure = error.what();
        return nullptr;
    }
}

bool SyslogForwarder::SendFront(std::unique_ptr<SyslogConnection>& connection) {
    std::string message;
    {
        std::lock_guard<std::mutex> lock(mutex);
        message = queue.front();
    }
    try {
        if (connection->PeerClosed()) throw SyslogError("The collector closed the connection");
        connection->Send(message);
    } catch (const SyslogError&) {
        connection.reset();
        return false; // the message stays first in the queue for the next connection
    }
    std::lock_guard<std::mutex> lock(mutex);
    queue.pop_front();
    return true;
}

void SyslogForwarder::Run() {
    // A write to a closed TLS connection raises SIGPIPE in the writing thread; kept pending here, it
    // turns into an EPIPE error instead of ending the process.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);

    std::unique_ptr<SyslogConnection> connection;
    bool failed = false;
    std::string failure;
    std::chrono::milliseconds retry = FirstRetry;
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex);
            wake.wait(lock, [this] { return stopping || !queue.empty(); });
            if (queue.empty() || (stopping && !connection)) return;
        }
        if (!connection) {
            connection = Connect(failure);
            if (!connection) {
                if (!failed) dropsAtFailure = drops.load();
                failed = true;
                std::unique_lock<std::mutex> lock(mutex);
                wake.wait_for(lock, retry, [this] { return stopping; });
                retry = std::min(retry * 2, LongestRetry);
                continue;
            }
            retry = FirstRetry;
            if (failed) {
                failed = false;
                if (resumed) resumed(drops.load() - dropsAtFailure, failure);
            }
        }
        if (!SendFront(connection)) {
            if (!failed) dropsAtFailure = drops.load();
            failed = true;
            failure = "the connection was lost";
        }
    }
}

} // namespace Kyr::PlatformServices
