#pragma once
// The byte stream of one connection: plain TCP, or TLS over it with OpenSSL. One type for both, with
// type-erased completion handlers, so that the request loop and Beast's read and write operations
// exist once in the program instead of once per stream type and handler (a controller's flash).
//
// TLS keeps no record buffers while a connection is quiet. Asio's own SSL stream holds about 70 KiB
// per connection (its engine's buffers and a BIO pair) for as long as the connection lives; here
// OpenSSL reads from and writes to two byte vectors through a BIO of our own, which hold only what an
// operation needs and are freed when it is done (OpenSSL frees its own record buffers too:
// SSL_MODE_RELEASE_BUFFERS). Deadlines are the tcp_stream's (expires_after), as for plain connections.
// One operation at a time: the connection reads and writes in turn.
#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/bind_executor.hpp>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/core/tcp_stream.hpp>

#include <openssl/ssl.h>

#include <memory>
#include <vector>

namespace Kyr::WbmHost {

namespace ConnectionTls {
struct Channel; // OpenSSL's connection and the bytes on their way (ConnectionStream.cpp)
}

class ConnectionStream {
public:
    using executor_type = boost::beast::tcp_stream::executor_type;
    using Signature = void(boost::system::error_code, std::size_t);
    using Done = boost::asio::any_completion_handler<Signature>;

    explicit ConnectionStream(boost::beast::tcp_stream&& next);        // plain
    ConnectionStream(boost::beast::tcp_stream&& next, SSL_CTX* tls);  // TLS, the server's side
    ConnectionStream(ConnectionStream&&) noexcept;
    ConnectionStream& operator=(ConnectionStream&&) = delete;
    ~ConnectionStream();

    executor_type get_executor() noexcept { return nextLayer.get_executor(); }
    boost::beast::tcp_stream& next_layer() noexcept { return nextLayer; }
    bool Secure() const noexcept { return channel != nullptr; }

    // The TLS handshake; `received` are bytes already read from the client. Plain: completes at once.
    template <class Token>
    auto async_handshake(boost::asio::const_buffer received, Token&& token) {
        return boost::asio::async_initiate<Token, Signature>(
            [this](Done done, boost::asio::const_buffer bytes) { StartHandshake(bytes, std::move(done)); }, token, received);
    }

    // The TLS close notification (the client's is not waited for). Plain: completes at once.
    template <class Token>
    auto async_shutdown(Token&& token) {
        return boost::asio::async_initiate<Token, Signature>([this](Done done) { StartShutdown(std::move(done)); }, token);
    }

    template <class MutableBuffers, class Token>
    auto async_read_some(const MutableBuffers& buffers, Token&& token) {
        boost::asio::mutable_buffer first;
        for (boost::asio::mutable_buffer buffer : boost::beast::buffers_range(buffers))
            if (buffer.size() > 0) {
                first = buffer;
                break;
            }
        return boost::asio::async_initiate<Token, Signature>(
            [this](Done done, boost::asio::mutable_buffer into) { StartRead(into, std::move(done)); }, token, first);
    }

    template <class ConstBuffers, class Token>
    auto async_write_some(const ConstBuffers& buffers, Token&& token) {
        std::vector<boost::asio::const_buffer> pieces;
        for (boost::asio::const_buffer buffer : boost::beast::buffers_range(buffers)) pieces.push_back(buffer);
        return boost::asio::async_initiate<Token, Signature>(
            [this](Done done, std::vector<boost::asio::const_buffer> from) { StartWrite(std::move(from), std::move(done)); },
            token, std::move(pieces));
    }

private:
    void StartHandshake(boost::asio::const_buffer received, Done done);
    void StartShutdown(Done done);
    void StartRead(boost::asio::mutable_buffer into, Done done);
    void StartWrite(std::vector<boost::asio::const_buffer> pieces, Done done);

    boost::beast::tcp_stream nextLayer;
    std::unique_ptr<ConnectionTls::Channel> channel; // none for plain connections
};

} // namespace Kyr::WbmHost
