#include "QuietConnections.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/ssl.hpp>

#include <memory>
#include <string>

namespace Kyr::WebBench {

namespace asio = boost::asio;
namespace beast = boost::beast;
using tcp = asio::ip::tcp;

namespace {

constexpr char slowHead[] = "GET /api/session HTTP/1.1\r\nHost: 127.0.0.1\r\nUser-Agent: dribble\r\n\r\n";

struct Blueprint {
    asio::io_context& io;
    asio::ssl::context& tls;
    Endpoint endpoint;
    asio::ip::address_v4 source;
    bool slow;
    QuietConnections::Counters counters;
};

// One quiet connection; after the server closes it, it makes its successor.
class Quiet : public std::enable_shared_from_this<Quiet> {
public:
    explicit Quiet(const Blueprint& blueprint)
        : blueprint(blueprint), stream(tcp::socket(blueprint.io), blueprint.tls), timer(blueprint.io) {}

    void Connect() {
        auto& socket = stream.next_layer();
        socket.open(tcp::v4());
        socket.bind(tcp::endpoint(blueprint.source, 0));
        socket.async_connect(tcp::endpoint(asio::ip::make_address(blueprint.endpoint.host), blueprint.endpoint.port),
                             [self = shared_from_this()](beast::error_code error) {
                                 if (error) return self->Failed();
                                 if (!self->blueprint.endpoint.tls) return self->Established();
                                 self->stream.async_handshake(asio::ssl::stream_base::client,
                                                              [self](beast::error_code error) {
                                                                  if (error) return self->Failed();
                                                                  self->Established();
                                                              });
                             });
    }

private:
    void Established() {
        ++blueprint.counters.open;
        WaitForClose();
        if (blueprint.slow) Dribble();
    }

    // Nothing is expected from the server but its close (or an error answer after a deadline).
    void WaitForClose() {
        auto handler = [self = shared_from_this()](beast::error_code error, std::size_t) {
            if (!error) return self->WaitForClose();
            self->Closed();
        };
        if (blueprint.endpoint.tls)
            stream.async_read_some(asio::buffer(scratch), handler);
        else
            stream.next_layer().async_read_some(asio::buffer(scratch), handler);
    }

    void Dribble() {
        timer.expires_after(std::chrono::seconds(1));
        timer.async_wait([self = shared_from_this()](beast::error_code error) {
            if (error || self->closed) return;
            // The head never completes in time: after its last byte it starts again.
            auto byte = asio::buffer(slowHead + self->sent++ % (sizeof slowHead - 1), 1);
            auto written = [self](beast::error_code error, std::size_t) {
                if (!error) self->Dribble();
            };
            if (self->blueprint.endpoint.tls)
                asio::async_write(self->stream, byte, written);
            else
                asio::async_write(self->stream.next_layer(), byte, written);
        });
    }

    void Closed() {
        if (closed) return;
        closed = true;
        timer.cancel();
        --blueprint.counters.open;
        if (blueprint.counters.stopping) return;
        ++blueprint.counters.closedByServer;
        std::make_shared<Quiet>(blueprint)->Connect();
    }

    void Failed() { ++blueprint.counters.failed; }

    Blueprint blueprint;
    beast::ssl_stream<tcp::socket> stream;
    asio::steady_timer timer;
    std::size_t sent = 0;
    bool closed = false;
    char scratch[512];
};

} // namespace

QuietConnections::QuietConnections(const Endpoint& endpoint, unsigned idle, unsigned slow, unsigned sourceBlock,
                                   unsigned perAddress)
    : tls(MakeClientTlsContext()) {
    Counters counters{open, closedByServer, failed, stopping};
    for (unsigned i = 0; i < idle + slow; ++i) {
        Blueprint blueprint{io, tls, endpoint, SourceAddress(sourceBlock, i, perAddress), i >= idle, counters};
        std::make_shared<Quiet>(blueprint)->Connect();
    }
    thread = std::thread([this] { io.run(); });
}

QuietConnections::~QuietConnections() {
    stopping = true;
    io.stop();
    thread.join();
}

} // namespace Kyr::WebBench
