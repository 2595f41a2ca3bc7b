#include "net/ConnectionStream.h"

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/compose.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/error.hpp>

#include <openssl/err.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace Kyr::WbmHost {

struct ConnectionStream::Lowest {
    using Timer = boost::asio::basic_waitable_timer<Clock, boost::asio::wait_traits<Clock>, executor_type>;
    explicit Lowest(ConnectionSocket socket) : socket(std::move(socket)), timer(this->socket.get_executor()) {}

    // An operation cancelled because the deadline passed ended by the deadline.
    boost::system::error_code Outcome(boost::system::error_code error) const {
        return error == boost::asio::error::operation_aborted && expired ? boost::beast::error::timeout : error;
    }

    ConnectionSocket socket;
    Timer timer;
    Clock::time_point deadline = Clock::time_point::max(); // max: none
    Clock::time_point armedAt;                             // when the timer's wait ends, if `armed`
    bool armed = false;
    bool expired = false;
};

namespace ConnectionTls {

struct Channel {
    explicit Channel(SSL_CTX* context);
    ~Channel() { SSL_free(ssl); }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    SSL* ssl = nullptr;
    std::vector<unsigned char> incoming; // received, not yet taken by OpenSSL (from `taken` on)
    std::size_t taken = 0;
    std::vector<unsigned char> outgoing; // written by OpenSSL, not yet sent

    // Drops what OpenSSL took already, so that new bytes go after what it still needs.
    void CompactIncoming() {
        incoming.erase(incoming.begin(), incoming.begin() + static_cast<std::ptrdiff_t>(taken));
        taken = 0;
    }
    // Frees both vectors when they hold nothing (after each operation).
    void GiveBackIdleBuffers() {
        if (taken == incoming.size()) {
            std::vector<unsigned char>().swap(incoming);
            taken = 0;
        }
        if (outgoing.empty()) std::vector<unsigned char>().swap(outgoing);
    }
};

namespace {

Channel& ChannelOf(BIO* bio) { return *static_cast<Channel*>(BIO_get_data(bio)); }

int ReadFromChannel(BIO* bio, char* out, int size) {
    BIO_clear_retry_flags(bio);
    Channel& channel = ChannelOf(bio);
    const std::size_t available = channel.incoming.size() - channel.taken;
    if (available == 0) {
        BIO_set_retry_read(bio); // OpenSSL answers "wants to read"; the operation reads from the socket
        return -1;
    }
    const std::size_t count = std::min(available, static_cast<std::size_t>(size));
    std::memcpy(out, channel.incoming.data() + channel.taken, count);
    channel.taken += count;
    return static_cast<int>(count);
}

int WriteToChannel(BIO* bio, const char* bytes, int size) {
    BIO_clear_retry_flags(bio);
    Channel& channel = ChannelOf(bio);
    channel.outgoing.insert(channel.outgoing.end(), bytes, bytes + size);
    return size;
}

long ControlChannel(BIO* bio, int command, long, void*) {
    Channel& channel = ChannelOf(bio);
    switch (command) {
    case BIO_CTRL_FLUSH: return 1; // the operation sends after each call
    case BIO_CTRL_PENDING: return static_cast<long>(channel.incoming.size() - channel.taken);
    case BIO_CTRL_WPENDING: return static_cast<long>(channel.outgoing.size());
    default: return 0;
    }
}

// Made once, whoever comes first, and kept for the process's life.
const BIO_METHOD* ChannelMethod() {
    static BIO_METHOD* const method = [] {
        BIO_METHOD* made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "wbm-host TLS channel");
        if (!made || !BIO_meth_set_read(made, ReadFromChannel) || !BIO_meth_set_write(made, WriteToChannel) ||
            !BIO_meth_set_ctrl(made, ControlChannel))
            throw std::bad_alloc();
        return made;
    }();
    return method;
}

// The outcome of an OpenSSL call, read right after it (the error queue belongs to the thread).
struct CallOutcome {
    bool wantsToRead = false;
    boost::system::error_code error; // set when the call failed for good (end of stream: eof)
};

CallOutcome OutcomeOf(SSL* ssl, int result) {
    if (result > 0) return {};
    switch (SSL_get_error(ssl, result)) {
    case SSL_ERROR_WANT_READ: return {true, {}};
    case SSL_ERROR_ZERO_RETURN: return {false, boost::asio::error::eof};
    default: {
        const unsigned long code = ERR_get_error();
        if (code == 0) return {false, boost::asio::ssl::error::stream_truncated};
        return {false, boost::system::error_code(static_cast<int>(code), boost::asio::error::get_ssl_category())};
    }
    }
}

enum class Kind { Handshake, Shutdown, Read, Write };

// Runs one OpenSSL call until it succeeds or fails for good: sends what it wrote, reads what it needs.
class Operation {
public:
    Operation(Channel& channel, ConnectionStream::Lowest& lowest, Kind kind, boost::asio::mutable_buffer into,
              std::vector<unsigned char> record)
        : channel(channel), lowest(lowest), kind(kind), into(into), record(std::move(record)) {}

    template <class Self>
    void operator()(Self& self) {
        Attempt(self);
    }

    template <class Self>
    void operator()(Self& self, boost::system::error_code error, std::size_t bytes) {
        // The deadline may have passed while this step's completion waited to run: no further step.
        if (!error && lowest.expired) error = boost::asio::error::operation_aborted;
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

    int Call() {
        switch (kind) {
        case Kind::Handshake: return SSL_do_handshake(channel.ssl);
        case Kind::Shutdown: return SSL_shutdown(channel.ssl) < 0 ? -1 : 1;
        case Kind::Read: return SSL_read_ex(channel.ssl, into.data(), into.size(), &transferred);
        case Kind::Write: return record.empty() ? 1 : SSL_write_ex(channel.ssl, record.data(), record.size(), &transferred);
        }
        return -1;
    }

    template <class Self>
    void Attempt(Self& self) {
        state = State::Calling;
        ERR_clear_error();
        outcome = OutcomeOf(channel.ssl, Call());
        if (!channel.outgoing.empty()) {
            state = State::Sending;
            return boost::asio::async_write(lowest.socket, boost::asio::buffer(channel.outgoing), std::move(self));
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
        lowest.socket.async_read_some(boost::asio::buffer(channel.incoming.data() + at, readRoom), std::move(self));
    }

    template <class Self>
    void Finish(Self& self, boost::system::error_code error) {
        channel.incoming.resize(channel.incoming.size() - readRoom);
        readRoom = 0;
        channel.GiveBackIdleBuffers();
        error = lowest.Outcome(error);
        self.complete(error, error ? 0 : transferred);
    }

    Channel& channel;
    ConnectionStream::Lowest& lowest;
    Kind kind;
    boost::asio::mutable_buffer into;  // Read
    std::vector<unsigned char> record; // Write: the pieces gathered into one record
    State state = State::Calling;
    std::size_t transferred = 0;
    std::size_t readRoom = 0; // room added to `incoming` for the read under way
    bool firstRead = true;
    CallOutcome outcome;
};

// A type-erased handler bound to the connection's executor, which is where it runs anyway: Boost
// 1.81's operations cannot post to the executor that type erasure alone would give it.
template <class Handler>
auto Bound(ConnectionStream::Lowest& lowest, Handler handler) {
    return boost::asio::bind_executor(lowest.socket.get_executor(), std::move(handler));
}

void Run(Channel& channel, ConnectionStream::Lowest& lowest, Kind kind, boost::asio::mutable_buffer into,
         std::vector<unsigned char> record, ConnectionStream::Done done) {
    auto handler = Bound(lowest, std::move(done));
    boost::asio::async_compose<decltype(handler), ConnectionStream::Signature>(
        Operation(channel, lowest, kind, into, std::move(record)), handler, lowest.socket);
}

// A plain read's or write's handler: the deadline's outcome, then the caller's handler.
auto Finishing(const std::shared_ptr<ConnectionStream::Lowest>& lowest, ConnectionStream::Done done) {
    return Bound(*lowest, [lowest, done = std::move(done)](boost::system::error_code error, std::size_t bytes) mutable {
        std::move(done)(lowest->Outcome(error), bytes);
    });
}

} // namespace

Channel::Channel(SSL_CTX* context) {
    ssl = SSL_new(context);
    BIO* bio = ssl ? BIO_new(ChannelMethod()) : nullptr;
    if (!bio) {
        SSL_free(ssl);
        throw std::bad_alloc();
    }
    BIO_set_data(bio, this);
    BIO_set_init(bio, 1);
    SSL_set_bio(ssl, bio, bio); // one BIO both ways; the SSL owns it
    SSL_set_accept_state(ssl);
}

} // namespace ConnectionTls

ConnectionStream::ConnectionStream(ConnectionSocket socket) : lowest(std::make_shared<Lowest>(std::move(socket))) {}

ConnectionStream::ConnectionStream(ConnectionStream&&) noexcept = default;
ConnectionStream::~ConnectionStream() = default;

ConnectionStream::executor_type ConnectionStream::get_executor() noexcept { return lowest->socket.get_executor(); }

ConnectionSocket& ConnectionStream::socket() noexcept { return lowest->socket; }

void ConnectionStream::UseTls(SSL_CTX* tls) { channel = std::make_unique<ConnectionTls::Channel>(tls); }

namespace {
// The timer's wait ends at `at`; then it looks at the deadline in force: passed, it cancels what is
// under way; later, it waits again.
void Arm(const std::shared_ptr<ConnectionStream::Lowest>& lowest, ConnectionStream::Clock::time_point at) {
    lowest->armed = true;
    lowest->armedAt = at;
    lowest->timer.expires_at(at); // an earlier wait ends cancelled
    lowest->timer.async_wait([weak = std::weak_ptr<ConnectionStream::Lowest>(lowest)](boost::system::error_code error) {
        const auto held = weak.lock();
        if (error || !held) return; // replaced by an earlier wait, or the connection is gone
        held->armed = false;
        if (held->deadline == ConnectionStream::Clock::time_point::max()) return;
        if (ConnectionStream::Clock::now() < held->deadline) return Arm(held, held->deadline);
        held->expired = true;
        boost::system::error_code ignored;
        held->socket.cancel(ignored); // what is under way ends now, with the deadline's error
    });
}
} // namespace

// A wait that ends no later than the new deadline is left as it is: most requests then cost the
// timer nothing (no system call to move it, no cancelled wait to complete).
void ConnectionStream::ExpiresAt(Clock::time_point deadline) {
    lowest->expired = false;
    lowest->deadline = deadline;
    if (!lowest->armed || lowest->armedAt > deadline) Arm(lowest, deadline);
}

void ConnectionStream::ExpiresNever() {
    lowest->expired = false;
    lowest->deadline = Clock::time_point::max();
}

namespace {
void CompleteAtOnce(ConnectionStream& stream, ConnectionStream::Done done, boost::system::error_code error = {}) {
    boost::asio::post(stream.get_executor(), [done = std::move(done), error]() mutable { std::move(done)(error, 0); });
}
} // namespace

void ConnectionStream::StartHandshake(boost::asio::const_buffer received, Done done) {
    if (lowest->expired) return CompleteAtOnce(*this, std::move(done), boost::beast::error::timeout);
    if (!channel) return CompleteAtOnce(*this, std::move(done));
    const auto* bytes = static_cast<const unsigned char*>(received.data());
    channel->incoming.insert(channel->incoming.end(), bytes, bytes + received.size());
    ConnectionTls::Run(*channel, *lowest, ConnectionTls::Kind::Handshake, {}, {}, std::move(done));
}

void ConnectionStream::StartShutdown(Done done) {
    if (lowest->expired) return CompleteAtOnce(*this, std::move(done), boost::beast::error::timeout);
    if (!channel) return CompleteAtOnce(*this, std::move(done));
    ConnectionTls::Run(*channel, *lowest, ConnectionTls::Kind::Shutdown, {}, {}, std::move(done));
}

void ConnectionStream::StartWaitReadable(Done done) {
    if (lowest->expired) return CompleteAtOnce(*this, std::move(done), boost::beast::error::timeout);
    if (channel && (channel->incoming.size() > channel->taken || SSL_pending(channel->ssl) > 0))
        return CompleteAtOnce(*this, std::move(done));
    lowest->socket.async_wait(ConnectionSocket::wait_read,
                              ConnectionTls::Bound(*lowest, [lowest = lowest, done = std::move(done)](boost::system::error_code error) mutable {
                                  std::move(done)(lowest->Outcome(error), 0);
                              }));
}

void ConnectionStream::StartRead(boost::asio::mutable_buffer into, Done done) {
    if (lowest->expired) return CompleteAtOnce(*this, std::move(done), boost::beast::error::timeout);
    if (!channel) return lowest->socket.async_read_some(into, ConnectionTls::Finishing(lowest, std::move(done)));
    ConnectionTls::Run(*channel, *lowest, ConnectionTls::Kind::Read, into, {}, std::move(done));
}

void ConnectionStream::StartWrite(std::vector<boost::asio::const_buffer> pieces, Done done) {
    if (lowest->expired) return CompleteAtOnce(*this, std::move(done), boost::beast::error::timeout);
    if (!channel) return lowest->socket.async_write_some(pieces, ConnectionTls::Finishing(lowest, std::move(done)));
    // The pieces of an answer (its head comes in many) go out as one record of at most 16 KiB.
    std::vector<unsigned char> record;
    for (const boost::asio::const_buffer& piece : pieces) {
        const auto* bytes = static_cast<const unsigned char*>(piece.data());
        const std::size_t count = std::min(piece.size(), 16 * 1024 - record.size());
        record.insert(record.end(), bytes, bytes + count);
        if (record.size() == 16 * 1024) break;
    }
    ConnectionTls::Run(*channel, *lowest, ConnectionTls::Kind::Write, {}, std::move(record), std::move(done));
}

} // namespace Kyr::WbmHost
