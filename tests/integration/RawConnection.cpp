#include "RawConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Kyr::IntegrationTests {

RawConnection::RawConnection(int port, const std::string& fromAddress) {
    fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    inet_pton(AF_INET, fromAddress.c_str(), &local.sin_addr);
    sockaddr_in remote{};
    remote.sin_family = AF_INET;
    remote.sin_port = htons(static_cast<uint16_t>(port));
    remote.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
        connect(fd, reinterpret_cast<sockaddr*>(&remote), sizeof remote) != 0) {
        close(fd);
        fd = -1;
    }
}

RawConnection::~RawConnection() {
    if (fd >= 0) close(fd);
}

bool RawConnection::Send(const std::string& bytes) {
    return fd >= 0 && send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

std::string RawConnection::Receive(int silenceMs) {
    std::string answer;
    pollfd descriptor{fd, POLLIN, 0};
    char buffer[4096];
    ssize_t count = 0;
    while (fd >= 0 && poll(&descriptor, 1, silenceMs) > 0 && (count = recv(fd, buffer, sizeof buffer, 0)) > 0)
        answer.append(buffer, static_cast<std::size_t>(count));
    return answer;
}

bool RawConnection::ClosedByHost(int waitMs) {
    if (fd < 0) return true;
    pollfd descriptor{fd, POLLIN, 0};
    char byte;
    while (poll(&descriptor, 1, waitMs) > 0) {
        const ssize_t count = recv(fd, &byte, 1, 0);
        if (count <= 0) return true;
    }
    return false;
}

} // namespace Kyr::IntegrationTests
