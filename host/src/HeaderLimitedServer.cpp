#include "HeaderLimitedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace Kyr::WbmHost {

namespace {

using Clock = std::chrono::steady_clock;

int Milliseconds(Clock::duration duration) {
    return static_cast<int>(std::clamp<long long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(duration).count(), 0, 24 * 3600 * 1000));
}

bool WaitFor(socket_t sock, short events, int milliseconds) {
    pollfd descriptor{sock, events, 0};
    int result;
    do {
        result = ::poll(&descriptor, 1, milliseconds);
    } while (result < 0 && errno == EINTR);
    return result > 0 && (descriptor.revents & (events | POLLHUP | POLLERR)) != 0;
}

void AddressOf(const sockaddr_storage& address, std::string& ip, int& port) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        ::inet_ntop(AF_INET, &v4.sin_addr, text, sizeof text);
        port = ntohs(v4.sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text, sizeof text);
        port = ntohs(v6.sin6_port);
    }
    ip = text;
}

// A socket stream with a read buffer (the library reads header lines byte by byte). While a
// request's head is read, reading stops at the head's byte budget or deadline.
class LimitedSocketStream final : public httplib::Stream {
public:
    LimitedSocketStream(socket_t sock, std::chrono::microseconds readTimeout, std::chrono::microseconds writeTimeout)
        : sock(sock), readTimeout(readTimeout), writeTimeout(writeTimeout) {}

    void StartHead(std::size_t bytes, Clock::time_point until) {
        headBytesLeft = bytes;
        headDeadline = until;
        readingHead = true;
    }
    void HeadDone() { readingHead = false; }
    // Bytes already received and not read yet (a pipelined next request).
    bool HasBuffered() const { return offset < filled; }
    // Whether the head of the last request ran out of bytes or time.
    bool HeadTooLong() const { return readingHead && (headBytesLeft == 0 || Clock::now() >= headDeadline); }

    bool is_readable() const override {
        Clock::duration wait = readTimeout;
        if (readingHead) wait = std::min<Clock::duration>(wait, headDeadline - Clock::now());
        return WaitFor(sock, POLLIN, Milliseconds(wait));
    }
    bool is_writable() const override { return WaitFor(sock, POLLOUT, Milliseconds(writeTimeout)); }

    ssize_t read(char* destination, std::size_t size) override {
        if (readingHead && headBytesLeft == 0) return -1;
        if (offset == filled) {
            if (!is_readable()) return -1;
            ssize_t received;
            do {
                received = ::recv(sock, buffer.data(), buffer.size(), 0);
            } while (received < 0 && errno == EINTR);
            if (received <= 0) return received;
            offset = 0;
            filled = static_cast<std::size_t>(received);
        }
        std::size_t count = std::min(size, filled - offset);
        if (readingHead) {
            count = std::min(count, headBytesLeft);
            headBytesLeft -= count;
        }
        std::copy_n(buffer.data() + offset, count, destination);
        offset += count;
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* source, std::size_t size) override {
        if (!is_writable()) return -1;
        ssize_t sent;
        do {
            sent = ::send(sock, source, size, MSG_NOSIGNAL);
        } while (sent < 0 && errno == EINTR);
        return sent;
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        if (::getpeername(sock, reinterpret_cast<sockaddr*>(&address), &length) == 0) AddressOf(address, ip, port);
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        if (::getsockname(sock, reinterpret_cast<sockaddr*>(&address), &length) == 0) AddressOf(address, ip, port);
    }
    socket_t socket() const override { return sock; }

private:
    socket_t sock;
    std::chrono::microseconds readTimeout, writeTimeout;
    std::array<char, 4096> buffer{};
    std::size_t offset = 0, filled = 0;
    bool readingHead = false;
    std::size_t headBytesLeft = 0;
    Clock::time_point headDeadline;
};

} // namespace

bool HeaderLimitedServer::WaitForNextRequest(socket_t sock) const {
    // In short slices, so that a stop of the server does not wait for idle connections.
    const auto until = Clock::now() + std::chrono::seconds(keep_alive_timeout_sec_);
    while (svr_sock_ != INVALID_SOCKET) {
        const auto left = until - Clock::now();
        if (left <= Clock::duration::zero()) return false;
        if (WaitFor(sock, POLLIN, std::min(Milliseconds(left), 50))) return true;
    }
    return false;
}

bool HeaderLimitedServer::process_and_close_socket(socket_t sock) {
    using std::chrono::microseconds;
    using std::chrono::seconds;
    LimitedSocketStream stream(sock, seconds(read_timeout_sec_) + microseconds(read_timeout_usec_),
                               seconds(write_timeout_sec_) + microseconds(write_timeout_usec_));
    bool result = true;
    for (std::size_t left = keep_alive_max_count_; left > 0 && (stream.HasBuffered() || WaitForNextRequest(sock)); --left) {
        stream.StartHead(headerBytes, Clock::now() + headerTime);
        bool closed = false;
        result = process_request(stream, left == 1, closed, [&stream](httplib::Request&) { stream.HeadDone(); });
        if (!result || closed || stream.HeadTooLong()) break;
    }
    ::shutdown(sock, SHUT_RDWR);
    ::close(sock);
    return result;
}

} // namespace Kyr::WbmHost
