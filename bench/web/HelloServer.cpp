// The smallest useful Beast server: answers every request with a short JSON body, keeps connections
// alive, two network threads like wbm-host, TCP_NODELAY, plain or TLS. It is the yardstick the web
// benchmark divides the host's throughput by.
//
//   web_hello_server --listen 127.0.0.1:0 [--tls-cert FILE --tls-key FILE]
// prints "Listening on http(s)://127.0.0.1:PORT" when ready; stops on SIGTERM or SIGINT.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;

namespace {

template <class Stream>
class HelloSession : public std::enable_shared_from_this<HelloSession<Stream>> {
public:
    explicit HelloSession(Stream stream) : stream(std::move(stream)) {}

    void Start() {
        if constexpr (std::is_same_v<Stream, beast::tcp_stream>) {
            Read();
        } else {
            stream.async_handshake(asio::ssl::stream_base::server,
                                   [self = this->shared_from_this()](beast::error_code error) {
                                       if (!error) self->Read();
                                   });
        }
    }

private:
    void Read() {
        request = {};
        http::async_read(stream, buffer, request,
                         [self = this->shared_from_this()](beast::error_code error, std::size_t) {
                             if (!error) self->Answer();
                         });
    }

    void Answer() {
        response = {};
        response.version(request.version());
        response.result(http::status::ok);
        response.set(http::field::content_type, "application/json; charset=utf-8");
        response.keep_alive(request.keep_alive());
        response.body() = "{\"hello\":true}";
        response.prepare_payload();
        http::async_write(stream, response, [self = this->shared_from_this()](beast::error_code error, std::size_t) {
            if (!error && self->response.keep_alive()) self->Read();
        });
    }

    Stream stream;
    beast::flat_buffer buffer;
    http::request<http::string_body> request;
    http::response<http::string_body> response;
};

struct Options {
    std::string host = "127.0.0.1";
    unsigned short port = 0;
    std::string certificate;
    std::string key;
};

std::optional<Options> ParseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string name = argv[i], value = argv[i + 1];
        if (name == "--listen") {
            auto colon = value.rfind(':');
            if (colon == std::string::npos) return std::nullopt;
            options.host = value.substr(0, colon);
            std::size_t used = 0;
            unsigned long port = 0;
            try {
                port = std::stoul(value.substr(colon + 1), &used);
            } catch (const std::exception&) {
                return std::nullopt;
            }
            if (used != value.size() - colon - 1 || port > 65535) return std::nullopt;
            options.port = static_cast<unsigned short>(port);
        } else if (name == "--tls-cert") {
            options.certificate = value;
        } else if (name == "--tls-key") {
            options.key = value;
        } else {
            return std::nullopt;
        }
    }
    if (argc % 2 == 0 || options.certificate.empty() != options.key.empty()) return std::nullopt;
    return options;
}

class HelloServer {
public:
    HelloServer(asio::io_context& io, const Options& options) : io(io), acceptor(io), tls(asio::ssl::context::tls_server) {
        useTls = !options.certificate.empty();
        if (useTls) {
            // The same protocol floor as the host; suites are left to OpenSSL's defaults (TLS 1.3 AEAD).
            SSL_CTX_set_min_proto_version(tls.native_handle(), TLS1_2_VERSION);
            tls.use_certificate_chain_file(options.certificate);
            tls.use_private_key_file(options.key, asio::ssl::context::pem);
        }
        tcp::endpoint endpoint(asio::ip::make_address(options.host), options.port);
        acceptor.open(endpoint.protocol());
        acceptor.bind(endpoint);
        acceptor.listen(asio::socket_base::max_listen_connections);
    }

    unsigned short Port() const { return acceptor.local_endpoint().port(); }
    bool Tls() const { return useTls; }

    void Accept() {
        acceptor.async_accept(asio::make_strand(io), [this](beast::error_code error, tcp::socket socket) {
            if (error) return; // the acceptor was closed
            socket.set_option(tcp::no_delay(true));
            beast::tcp_stream stream(std::move(socket));
            if (useTls)
                std::make_shared<HelloSession<beast::ssl_stream<beast::tcp_stream>>>(
                    beast::ssl_stream<beast::tcp_stream>(std::move(stream), tls))->Start();
            else
                std::make_shared<HelloSession<beast::tcp_stream>>(std::move(stream))->Start();
            Accept();
        });
    }

    void Close() { acceptor.close(); }

private:
    asio::io_context& io;
    tcp::acceptor acceptor;
    asio::ssl::context tls;
    bool useTls = false;
};

} // namespace

int main(int argc, char** argv) {
    auto options = ParseOptions(argc, argv);
    if (!options) {
        std::cerr << "Usage: web_hello_server [--listen HOST:PORT] [--tls-cert FILE --tls-key FILE]\n";
        return 2;
    }
    try {
        constexpr int networkThreads = 2;
        asio::io_context io(networkThreads);
        HelloServer server(io, *options);
        server.Accept();
        asio::signal_set signals(io, SIGTERM, SIGINT);
        signals.async_wait([&](beast::error_code, int) { io.stop(); });
        std::cout << "Listening on " << (server.Tls() ? "https://" : "http://") << options->host << ':'
                  << server.Port() << std::endl;
        std::vector<std::thread> threads;
        for (int i = 1; i < networkThreads; ++i) threads.emplace_back([&io] { io.run(); });
        io.run();
        for (auto& thread : threads) thread.join();
    } catch (const std::exception& failure) {
        std::cerr << "web_hello_server: " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
