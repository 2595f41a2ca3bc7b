#include "SyslogConnection.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace Kyr::PlatformServices {

namespace {

std::string OpenSslErrors() {
    std::string text;
    while (unsigned long code = ERR_get_error()) {
        char buffer[256];
        ERR_error_string_n(code, buffer, sizeof buffer);
        text += text.empty() ? buffer : std::string("; ") + buffer;
    }
    return text.empty() ? "unknown TLS error" : text;
}

bool IsIpAddress(const std::string& host) {
    unsigned char buffer[sizeof(in6_addr)];
    return inet_pton(AF_INET, host.c_str(), buffer) == 1 || inet_pton(AF_INET6, host.c_str(), buffer) == 1;
}

// A non-blocking connect, waited for with poll, so that an unreachable collector costs `timeout`.
int ConnectWithin(const addrinfo& address, std::chrono::milliseconds timeout) {
    int fd = ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, address.ai_protocol);
    if (fd < 0) return -1;
    if (::connect(fd, address.ai_addr, address.ai_addrlen) != 0) {
        pollfd waiting{fd, POLLOUT, 0};
        int error = 0;
        socklen_t length = sizeof error;
        if (errno != EINPROGRESS || ::poll(&waiting, 1, static_cast<int>(timeout.count())) != 1 ||
            ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error != 0) {
            ::close(fd);
            return -1;
        }
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    timeval limit{static_cast<time_t>(timeout.count() / 1000), static_cast<suseconds_t>(timeout.count() % 1000 * 1000)};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    return fd;
}

} // namespace

std::shared_ptr<SSL_CTX> MakeSyslogTlsContext(const std::string& trustStoreFolder) {
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    if (!context) throw SyslogError("Cannot create a TLS context: " + OpenSslErrors());
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    int loaded = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(trustStoreFolder, error), end; !error && entry != end;
         entry.increment(error))
        if (entry->is_regular_file(error) && SSL_CTX_load_verify_file(context.get(), entry->path().c_str()) == 1) ++loaded;
    ERR_clear_error(); // files that were no certificates
    if (loaded == 0) throw SyslogError("No certificate in the trust store folder " + trustStoreFolder);
    return context;
}

SyslogConnection::SyslogConnection(const SyslogTarget& target, const std::shared_ptr<SSL_CTX>& tls,
                                   std::chrono::milliseconds timeout) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* addresses = nullptr;
    const std::string port = std::to_string(target.port);
    if (int failure = ::getaddrinfo(target.host.c_str(), port.c_str(), &hints, &addresses))
        throw SyslogError("Cannot resolve " + target.host + ": " + gai_strerror(failure));
    for (addrinfo* address = addresses; address && socket < 0; address = address->ai_next)
        socket = ConnectWithin(*address, timeout);
    ::freeaddrinfo(addresses);
    if (socket < 0) throw SyslogError("Cannot connect to " + target.host + ":" + port);
    if (!tls) return;

    ssl = SSL_new(tls.get());
    bool ready = ssl && SSL_set_fd(ssl, socket) == 1;
    if (ready && IsIpAddress(target.host))
        ready = X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl), target.host.c_str()) == 1;
    else if (ready)
        ready = SSL_set1_host(ssl, target.host.c_str()) == 1 && SSL_set_tlsext_host_name(ssl, target.host.c_str()) == 1;
    if (!ready || SSL_connect(ssl) != 1) {
        std::string reason = OpenSslErrors();
        if (ssl && SSL_get_verify_result(ssl) != X509_V_OK)
            reason = X509_verify_cert_error_string(SSL_get_verify_result(ssl));
        SSL_free(ssl);
        ssl = nullptr;
        ::close(socket);
        socket = -1;
        throw SyslogError("TLS handshake with " + target.host + ":" + port + " failed: " + reason);
    }
}

SyslogConnection::~SyslogConnection() {
    if (ssl) {
        SSL_shutdown(ssl); // one close_notify; the answer is not awaited
        SSL_free(ssl);
    }
    if (socket >= 0) ::close(socket);
}

bool SyslogConnection::PeerClosed() const {
    pollfd state{socket, POLLIN | POLLRDHUP, 0};
    return ::poll(&state, 1, 0) != 0;
}

void SyslogConnection::Send(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        if (ssl) {
            std::size_t written = 0;
            if (SSL_write_ex(ssl, bytes.data() + sent, bytes.size() - sent, &written) != 1)
                throw SyslogError("TLS write failed: " + OpenSslErrors());
            sent += written;
        } else {
            ssize_t written = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (written < 0 && errno == EINTR) continue;
            if (written <= 0) throw SyslogError(std::string("Send failed: ") + std::strerror(errno));
            sent += static_cast<std::size_t>(written);
        }
    }
}

} // namespace Kyr::PlatformServices
