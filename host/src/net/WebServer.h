#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "http/WorkerPool.h"
#include "net/ConnectionLimits.h"
#include "net/ConnectionRegistry.h"
#include "net/HttpConnection.h"
#include "net/RequestHandler.h"
#include "net/ServerLimits.h"
#include "net/TlsContext.h"

namespace Kyr::WbmHost {

// The network side of the host: listening sockets, a few network threads for all connections, the
// connection limits and the worker threads for request functions.
class WebServer {
public:
    explicit WebServer(const ServerLimits& limits);
    ~WebServer(); // stops at once when Stop() was not called

    // Listens on `host:port` (port 0: a free one), answering through `handler`, over TLS when `tls` is
    // given. Answers the bound port. Throws std::runtime_error when the address is in use or invalid.
    int Listen(const std::string& host, int port, RequestHandler& handler, const TlsContext* tls);
    void Start();
    // Throws like Listen() when `host:port` cannot be listened on now (a free port 0 always can).
    static void CheckAddressFree(const std::string& host, int port);
    // Stops accepting, ends idle connections, lets the answers in flight finish (at most the limits'
    // stop grace), then ends everything. Thread-safe; the first call does the work.
    void Stop();

private:
    struct Listener;
    void Accept(Listener& listener);

    // One event loop per network thread: a connection stays on the loop it was given at accept, so
    // that its handlers never have to wake another network thread.
    struct EventLoop {
        boost::asio::io_context io{1};
        // Keeps the thread running while no operation is pending (a request on a worker).
        boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{io.get_executor()};
    };
    boost::asio::io_context& AcceptingLoop() { return loops.front()->io; }
    static std::vector<std::unique_ptr<EventLoop>> MakeLoops(std::size_t count);

    // In this order: the network threads' handlers, destroyed with the loops, hold connections that
    // give their slots back; the workers post into the loops until they are joined.
    const ServerLimits limits;
    ConnectionLimits connectionLimits;
    ConnectionRegistry registry;
    std::vector<std::unique_ptr<ConnectionContext>> contexts;
    std::vector<std::unique_ptr<EventLoop>> loops;
    // After the loops: destroyed first, it drops the handshakes still waiting while their loops exist.
    HandshakeGate handshakes;
    std::size_t nextLoop = 0; // the loop of the next connection; only the accepting loop's thread uses it
    WorkerPool workers;
    std::vector<std::unique_ptr<Listener>> listeners;
    std::vector<std::thread> threads;
    std::atomic<bool> stopped{false};
};

} // namespace Kyr::WbmHost
