#include "KeepAliveLoad.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace Kyr::WebBench {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;

namespace {

// Shared by the connections of one run (one thread: no locking).
struct RunState {
    explicit RunState(const LoadPlan& plan) : plan(plan) {}
    const LoadPlan& plan;
    unsigned pending = 0; // connections still being made
    unsigned running = 0;
    std::uint64_t sent = 0;
    LoadResult result;
    Clock::time_point start, end, lastAnswer;
    std::vector<std::function<void()>> readyToGo;

    bool MaySend() const { return sent < plan.maxRequests && Clock::now() < end; }
};

template <class Stream>
class LoadConnection : public std::enable_shared_from_this<LoadConnection<Stream>> {
public:
    LoadConnection(RunState& run, Stream stream) : run(run), stream(std::move(stream)) {
        request = {http::verb::get, run.plan.target, 11};
        request.set(http::field::host, "127.0.0.1");
        if (!run.plan.cookie.empty()) request.set(http::field::cookie, run.plan.cookie);
        request.prepare_payload();
    }

    void Connect(const asio::ip::address_v4& source) {
        auto& socket = beast::get_lowest_layer(stream).socket();
        socket.open(tcp::v4());
        socket.bind(tcp::endpoint(source, 0));
        beast::get_lowest_layer(stream).expires_after(std::chrono::seconds(10));
        beast::get_lowest_layer(stream).async_connect(
            tcp::endpoint(asio::ip::make_address(run.plan.endpoint.host), run.plan.endpoint.port),
            [self = this->shared_from_this()](beast::error_code error) {
                if (error) return self->Lost(true);
                beast::get_lowest_layer(self->stream).socket().set_option(tcp::no_delay(true));
                self->Handshake();
            });
    }

private:
    void Handshake() {
        if constexpr (std::is_same_v<Stream, beast::tcp_stream>) {
            Ready();
        } else {
            stream.async_handshake(asio::ssl::stream_base::client, [self = this->shared_from_this()](beast::error_code error) {
                if (error) return self->Lost(true);
                self->Ready();
            });
        }
    }

    // Waits for the others, so that the clock starts with every connection open.
    void Ready() {
        ++run.running;
        run.readyToGo.push_back([self = this->shared_from_this()] { self->Send(); });
        Done(true);
    }

    void Done(bool connecting) {
        if (connecting && --run.pending == 0) {
            run.start = Clock::now();
            run.end = run.start + run.plan.duration;
            auto starters = std::move(run.readyToGo);
            for (auto& start : starters) start();
        }
    }

    void Lost(bool connecting) {
        ++run.result.failures;
        if (!connecting) --run.running;
        Done(connecting);
    }

    void Send() {
        if (!run.MaySend()) {
            --run.running;
            return;
        }
        ++run.sent;
        beast::get_lowest_layer(stream).expires_after(std::chrono::seconds(10));
        http::async_write(stream, request, [self = this->shared_from_this()](beast::error_code error, std::size_t) {
            if (error) return self->Lost(false);
            self->Receive();
        });
    }

    void Receive() {
        response = {};
        http::async_read(stream, buffer, response, [self = this->shared_from_this()](beast::error_code error, std::size_t) {
            if (error) return self->Lost(false);
            self->run.lastAnswer = Clock::now();
            if (self->response.result() == http::status::ok)
                ++self->run.result.answers;
            else
                ++self->run.result.failures;
            if (!self->response.keep_alive()) return self->Lost(false);
            self->Send();
        });
    }

    RunState& run;
    Stream stream;
    http::request<http::empty_body> request;
    beast::flat_buffer buffer;
    http::response<http::string_body> response;
};

} // namespace

LoadResult RunKeepAlive(const LoadPlan& plan, asio::ssl::context& tls) {
    asio::io_context io(1);
    RunState run(plan);
    run.pending = plan.connections;
    for (unsigned i = 0; i < plan.connections; ++i) {
        auto source = SourceAddress(plan.sourceBlock, i, plan.perAddress);
        if (plan.endpoint.tls) {
            using Stream = beast::ssl_stream<beast::tcp_stream>;
            std::make_shared<LoadConnection<Stream>>(run, Stream(beast::tcp_stream(io), tls))->Connect(source);
        } else {
            std::make_shared<LoadConnection<beast::tcp_stream>>(run, beast::tcp_stream(io))->Connect(source);
        }
    }
    io.run();
    run.result.seconds = std::chrono::duration<double>(run.lastAnswer - run.start).count();
    if (run.result.seconds < 0) run.result.seconds = 0;
    return run.result;
}

} // namespace Kyr::WebBench
