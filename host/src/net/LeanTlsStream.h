#pragma once
// TLS over a beast::tcp_stream with OpenSSL, keeping no record buffers while a connection is quiet.
// Asio's own SSL stream holds about 70 KiB per connection (its engine's buffers and a BIO pair) for as
// long as the connection lives, so a thousand idle clients would cost 70 MB. Here OpenSSL reads from
// and writes to two byte vectors through a BIO of our own; they hold only what an operation needs and
// are given back when it is done (OpenSSL releases its own record buffers: SSL_MODE_RELEASE_BUFFERS).
// The stream's deadlines are the tcp_stream's (expires_after), as for plain connections.
#include <boost/asio/async_result.hpp>
#include <boost/asio/compose.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/core/tcp_stream.hpp>

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <algorithm>

#include <memory>
#include <vector>

namespace Kyr::WbmHost {

namespace LeanTls {

// What OpenSSL and the operations share; it stays put when the stream moves.
struct Channel {
    explicit Channel(SSL_CTX* context);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    SSL* ssl = nullptr;
    std::vector<unsigned char> incoming; // received, not yet taken by OpenSSL (from `taken` on)
    std::size_t taken = 0;
    std::vector<unsigned char> outgoing; // written by OpenSSL, not yet sent

    // Drops what OpenSSL took already, so that new bytes go after what it still needs.
    void CompactIncoming();
    // Frees both vectors when they hold nothing (after each operation).
    void GiveBackIdleBuffers();
};

// The outcome of an OpenSSL call, read right after it (the error queue belongs to the thread).
struct CallOutcome {
    bool wantsToRead = false;
    boost::system::error_code error; // set when the call failed for good (end of stream: eof)
};
CallOutcome OutcomeOf(SSL* ssl, int result);

// Runs one OpenSSL call until it succeeds or fails for good: sends what it wrote, reads what it needs.
// `Call` is `int(SSL*, std::size_t& transferred)`, answering OpenSSL's return value. One operation at
// a time per stream (the connection reads and writes in turn).
template <class Call>
class Operation {
public:
    Operation(Channel& channel, boost::beast::tcp_stream& next, Call call) : channel(channel), next(next), call(std::move(call)) {}

    template <class Self>
    void operator()(Self& self) {
        Attempt(self);
    }

    template <class Self>
    void operator()(Self& self, boost::system::error_code error, std::size_t bytes) {
        if (error) return Finish(self, error);
        if (state == State::Sending) {
            channel.outgoing.clear();
            return AfterSending(self);
        }
        // Reading: keep what came, and try the call again.
        channel.incoming.resize(channel.incoming.size() - readRoom + bytes);
        readRoom = 0;
        Attempt(self);
    }

private:
    enum class State { Calling, Sending, Reading };

    template <class Self>
    void Attempt(Self& self) {
        state = State::Calling;
        ERR_clear_error();
        outcome = LeanTls::OutcomeOf(channel.ssl, call(channel.ssl, transferred));
        if (!channel.outgoing.empty()) {
            state = State::Sending;
            return boost::asio::async_write(next, boost::asio::buffer(channel.outgoing), std::move(self));
        }
        AfterSending(self);
    }

    template <class Self>
    void AfterSending(Self& self) {
        if (outcome.wantsToRead) return Read(self);
        Finish(self, outcome.error);
    }

    template <class Self>
    void Read(Self& self) {
        state = State::Reading;
        channel.CompactIncoming();
        // A small first read, so that a connection waiting for its next request holds little; the rest
        // of a record then comes in large pieces.
        readRoom = firstRead ? 1024 : 17 * 1024;
        firstRead = false;
        const std::size_t at = channel.incoming.size();
        channel.incoming.resize(at + readRoom);
        next.async_read_some(boost::asio::buffer(channel.incoming.data() + at, readRoom), std::move(self));
    }

    template <class Self>
    void Finish(Self& self, boost::system::error_code error) {
        channel.incoming.resize(channel.incoming.size() - readRoom);
        readRoom = 0;
        channel.GiveBackIdleBuffers();
        self.complete(error, error ? 0 : transferred);
    }

    Channel& channel;
    boost::beast::tcp_stream& next;
    Call call;
    State state = State::Calling;
    std::size_t transferred = 0;
    std::size_t readRoom = 0; // room added to `incoming` for the read under way
    bool firstRead = true;
    CallOutcome outcome;
};

} // namespace LeanTls

class LeanTlsStream {
public:
    using executor_type = boost::beast::tcp_stream::executor_type;

    LeanTlsStream(boost::beast::tcp_stream&& next, SSL_CTX* context)
        : nextLayer(std::move(next)), channel(std::make_unique<LeanTls::Channel>(context)) {}

    executor_type get_executor() noexcept { return nextLayer.get_executor(); }
    boost::beast::tcp_stream& next_layer() noexcept { return nextLayer; }

    // The server's side of the handshake; `received` are bytes already read from the client.
    template <class Handler>
    auto async_handshake(boost::asio::const_buffer received, Handler&& handler) {
        const auto* bytes = static_cast<const unsigned char*>(received.data());
        channel->incoming.insert(channel->incoming.end(), bytes, bytes + received.size());
        return Run([](SSL* ssl, std::size_t&) { return SSL_do_handshake(ssl); }, std::forward<Handler>(handler));
    }

    // Sends the close notification (without waiting for the client's).
    template <class Handler>
    auto async_shutdown(Handler&& handler) {
        return Run([](SSL* ssl, std::size_t&) { return SSL_shutdown(ssl) < 0 ? -1 : 1; }, std::forward<Handler>(handler));
    }

    template <class MutableBuffers, class Handler>
    auto async_read_some(const MutableBuffers& buffers, Handler&& handler) {
        boost::asio::mutable_buffer first;
        for (boost::asio::mutable_buffer buffer : boost::beast::buffers_range(buffers))
            if (buffer.size() > 0) {
                first = buffer;
                break;
            }
        return Run([first](SSL* ssl, std::size_t& read) { return SSL_read_ex(ssl, first.data(), first.size(), &read); },
                   std::forward<Handler>(handler));
    }

    // Gathers the pieces (an answer's head comes in many) into one record of at most 16 KiB.
    template <class ConstBuffers, class Handler>
    auto async_write_some(const ConstBuffers& buffers, Handler&& handler) {
        auto record = std::make_shared<std::vector<unsigned char>>();
        for (boost::asio::const_buffer buffer : boost::beast::buffers_range(buffers)) {
            const std::size_t room = 16 * 1024 - record->size();
            const auto* bytes = static_cast<const unsigned char*>(buffer.data());
            record->insert(record->end(), bytes, bytes + std::min(room, buffer.size()));
            if (record->size() == 16 * 1024) break;
        }
        return Run([record](SSL* ssl, std::size_t& written) {
            return record->empty() ? 1 : SSL_write_ex(ssl, record->data(), record->size(), &written);
        }, std::forward<Handler>(handler));
    }

private:
    template <class Call, class Handler>
    auto Run(Call call, Handler&& handler) {
        return boost::asio::async_compose<Handler, void(boost::system::error_code, std::size_t)>(
            LeanTls::Operation<Call>(*channel, nextLayer, std::move(call)), handler, nextLayer);
    }

    boost::beast::tcp_stream nextLayer;
    std::unique_ptr<LeanTls::Channel> channel;
};

} // namespace Kyr::WbmHost
