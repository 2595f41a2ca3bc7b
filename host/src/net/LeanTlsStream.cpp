#include "net/LeanTlsStream.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ssl/error.hpp>

#include <cstring>
#include <new>

namespace Kyr::WbmHost::LeanTls {

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
    case BIO_CTRL_FLUSH: return 1; // sent by the operation after the call
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

Channel::~Channel() { SSL_free(ssl); }

void Channel::CompactIncoming() {
    incoming.erase(incoming.begin(), incoming.begin() + static_cast<std::ptrdiff_t>(taken));
    taken = 0;
}

void Channel::GiveBackIdleBuffers() {
    if (taken == incoming.size()) {
        std::vector<unsigned char>().swap(incoming);
        taken = 0;
    }
    if (outgoing.empty()) std::vector<unsigned char>().swap(outgoing);
}

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

} // namespace Kyr::WbmHost::LeanTls
