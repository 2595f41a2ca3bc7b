#include "net/WebServer.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <stdexcept>

#include "app/HostLoggers.h"

namespace Kyr::WbmHost {

namespace net = boost::asio;
using tcp = net::ip::tcp;

namespace {
void BindAcceptor(tcp::acceptor& acceptor, const std::string& host, int port) {
    boost::system::error_code error;
    const auto address = net::ip::make_address(host, error);
    if (error) throw std::runtime_error("Cannot listen on " + host + ": not an IP address");
    const tcp::endpoint endpoint(address, static_cast<unsigned short>(port));
    acceptor.open(endpoint.protocol());
    // Lets a restart bind again while old connections linger in TIME_WAIT; unlike SO_REUSEPORT, it
    // does not let a second server share a port that is in use.
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(endpoint, error);
    if (error) {
        const std::string shown = address.is_v6() ? "[" + host + "]" : host;
        throw std::runtime_error("Cannot listen on " + shown + ":" + std::to_string(port) + ": " +
                                 (error == net::error::address_in_use ? "the address is already in use" : error.message()));
    }
}
} // namespace

std::vector<std::unique_ptr<WebServer::EventLoop>> WebServer::MakeLoops(std::size_t count) {
    std::vector<std::unique_ptr<EventLoop>> made;
    for (std::size_t i = 0; i < std::max<std::size_t>(count, 1); ++i) made.push_back(std::make_unique<EventLoop>());
    return made;
}

struct WebServer::Listener {
    Listener(net::io_context& io, RequestHandler& handler, const TlsContext* tls)
        : acceptor(io), retry(io), handler(handler), tls(tls) {}
    tcp::acceptor acceptor;
    net::steady_timer retry;
    ConnectionContext* context = nullptr;
    RequestHandler& handler;
    const TlsContext* tls;
};

WebServer::WebServer(const ServerLimits& limits)
    : limits(limits), connectionLimits(limits.maxConnections, limits.maxConnectionsPerAddress),
      loops(MakeLoops(limits.ioThreads)), handshakes(limits.concurrentHandshakes),
      workers(limits.workerThreads, limits.queuedRequests) {}

WebServer::~WebServer() {
    for (auto& loop : loops) loop->io.stop();
    for (auto& thread : threads)
        if (thread.joinable()) thread.join();
}

int WebServer::Listen(const std::string& host, int port, RequestHandler& handler, const TlsContext* tls) {
    auto listener = std::make_unique<Listener>(AcceptingLoop(), handler, tls);
    contexts.push_back(std::make_unique<ConnectionContext>(ConnectionContext{limits, handler, workers, registry, handshakes}));
    listener->context = contexts.back().get();
    BindAcceptor(listener->acceptor, host, port);
    listener->acceptor.listen(net::socket_base::max_listen_connections);
    const int bound = listener->acceptor.local_endpoint().port();
    listeners.push_back(std::move(listener));
    return bound;
}

void WebServer::CheckAddressFree(const std::string& host, int port) {
    if (port == 0) return;
    net::io_context probe;
    tcp::acceptor acceptor(probe);
    BindAcceptor(acceptor, host, port);
}

void WebServer::Start() {
    for (auto& listener : listeners) Accept(*listener);
    for (auto& loop : loops) threads.emplace_back([&io = loop->io] { io.run(); });
}

void WebServer::Accept(Listener& listener) {
    net::io_context& loop = loops[nextLoop]->io;
    nextLoop = (nextLoop + 1) % loops.size();
    // The connection's socket runs on its loop's own executor: one thread runs each loop.
    listener.acceptor.async_accept(loop.get_executor(), [this, &listener](boost::system::error_code error, ConnectionSocket socket) {
        if (error == net::error::operation_aborted || !listener.acceptor.is_open()) return;
        if (error) {
            // Out of descriptors, say: try again shortly instead of spinning.
            HttpServer::LogError("Accepting a connection failed: {0}", error.message());
            listener.retry.expires_after(std::chrono::milliseconds(100));
            listener.retry.async_wait([this, &listener](boost::system::error_code) { Accept(listener); });
            return;
        }
        boost::system::error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        auto remote = socket.remote_endpoint(ignored).address();
        if (remote.is_v6() && remote.to_v6().is_v4_mapped()) remote = net::ip::make_address_v4(net::ip::v4_mapped, remote.to_v6());
        if (auto slot = connectionLimits.TryAcquire(remote.to_string())) {
            if (listener.tls)
                StartTlsConnection(std::move(socket), std::move(slot), listener.tls->Current(), *listener.context);
            else
                StartPlainConnection(std::move(socket), std::move(slot), *listener.context);
        } else {
            socket.close(ignored); // over a limit: refused at once, costing nothing further
        }
        Accept(listener);
    });
}

void WebServer::Stop() {
    if (stopped.exchange(true)) return;
    for (auto& listener : listeners) {
        net::post(AcceptingLoop(), [&listener] {
            boost::system::error_code ignored;
            listener->acceptor.close(ignored);
            listener->retry.cancel();
        });
    }
    registry.StopAll();
    const auto until = std::chrono::steady_clock::now() + limits.stopGrace;
    while (connectionLimits.Open() > 0 && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    for (auto& loop : loops) {
        loop->work.reset();
        loop->io.stop();
    }
    for (auto& thread : threads)
        if (thread.joinable()) thread.join();
}

} // namespace Kyr::WbmHost
