#pragma once
// The byte stream of one connection: plain TCP, or TLS over it with OpenSSL. One type for both, with
// type-erased completion handlers, so that the request loop and Beast's read and write operations
// exist once in the program instead of once per stream type and handler (a controller's flash).
//
// The socket runs on its network thread's event loop with the loop's own executor (one thread runs a
// loop, so a connection's handlers never run at the same time), and one timer gives its deadlines.
//
// TLS keeps no record buffers while a connection is quiet. Asio's own SSL stream holds about 70 KiB
// per connection (its engine's buffers and a BIO pair) for as long as the connection lives; here
// OpenSSL reads from and writes to two byte vectors through a BIO of our own, which hold only what an
// operation needs and are freed when it is done (OpenSSL frees its own record buffers too:
// SSL_MODE_RELEASE_BUFFERS). One operation at a time: the connection reads and writes in turn.
#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_range.hpp>

#include <openssl/ssl.h>

#include <chrono>
#include <memory>
#include <vector>

namespace Kyr::WbmHost {

namespace ConnectionTls {
struct Channel; // OpenSSL's connection and the bytes on their way (ConnectionStream.cpp)
}

// An accepted connection's socket, on the event loop of one network thread.
using ConnectionSocket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

class ConnectionStream {
public:
    using executor_type = boost::asio::io_context::executor_type;
    using Signature = void(boost::system::error_code, std::size_t);
    using Done = boost::asio::any_completion_handler<Signature>;
    using Clock = std::chrono::steady_clock;

    explicit ConnectionStream(ConnectionSocket socket); // plain until UseTls()
    ConnectionStream(ConnectionStream&&) noexcept;
    ConnectionStream& operator=(ConnectionStream&&) = delete;
    ~ConnectionStream();

    executor_type get_executor() noexcept;
    ConnectionSocket& socket() noexcept;
    bool Secure() const noexcept { return channel != nullptr; }

    // From now on TLS, the server's side; the handshake comes next.
    void UseTls(SSL_CTX* tls);

    // The deadline of what the connection does next. When it passes, the operation under way ends
    // with boost::beast::error::timeout, and so does each later one until a new deadline is set; a
    // slow peer cannot push it back by sending or taking a byte at a time.
    void ExpiresAt(Clock::time_point deadline);
    void ExpiresAfter(Clock::duration duration) { ExpiresAt(Clock::now() + duration); }
    void ExpiresNever();

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

    // Completes when something can be read: bytes on the socket, or, over TLS, bytes already received
    // or decrypted. Holds no buffer while it waits, so that a quiet connection costs little.
    template <class Token>
    auto async_wait_readable(Token&& token) {
        return boost::asio::async_initiate<Token, Signature>([this](Done done) { StartWaitReadable(std::move(done)); }, token);
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

    struct Lowest; // the socket and its deadline, shared with the deadline timer's handler

private:
    void StartHandshake(boost::asio::const_buffer received, Done done);
    void StartShutdown(Done done);
    void StartWaitReadable(Done done);
    void StartRead(boost::asio::mutable_buffer into, Done done);
    void StartWrite(std::vector<boost::asio::const_buffer> pieces, Done done);

    std::shared_ptr<Lowest> lowest;
    std::unique_ptr<ConnectionTls::Channel> channel; // none for plain connections
};

} // namespace Kyr::WbmHost
