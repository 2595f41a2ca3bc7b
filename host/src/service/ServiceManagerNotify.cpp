#include "ServiceManagerNotify.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace Kyr::WbmHost {

namespace {

std::string_view NotifySocketFromEnvironment() {
    const char* value = std::getenv("NOTIFY_SOCKET");
    return value == nullptr ? std::string_view() : std::string_view(value);
}

// Paths are absolute and abstract names start with '@'; anything else (e.g. a vsock address of a
// virtual machine's manager) is not a socket this host can reach.
bool IsUnixSocketAddress(std::string_view address) {
    return address.size() >= 2 && (address.front() == '/' || address.front() == '@');
}

// Closes the socket on every way out.
struct SocketHandle {
    int descriptor;
    ~SocketHandle() {
        if (descriptor >= 0) ::close(descriptor);
    }
};

} // namespace

bool RunningUnderServiceManager() { return IsUnixSocketAddress(NotifySocketFromEnvironment()); }

bool NotifyServiceManager(std::string_view state) {
    const std::string_view address = NotifySocketFromEnvironment();
    return IsUnixSocketAddress(address) && NotifyServiceManager(state, address);
}

bool NotifyServiceManager(std::string_view state, std::string_view socketAddress) {
    if (!IsUnixSocketAddress(socketAddress)) return false;
    sockaddr_un target{};
    target.sun_family = AF_UNIX;
    // A path needs its terminating zero inside sun_path; an abstract name is exactly its bytes after
    // a leading zero byte, without a terminator.
    const bool abstract = socketAddress.front() == '@';
    if (socketAddress.size() + (abstract ? 0 : 1) > sizeof(target.sun_path)) return false;
    std::memcpy(target.sun_path, socketAddress.data(), socketAddress.size());
    if (abstract) target.sun_path[0] = '\0';
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socketAddress.size() + (abstract ? 0 : 1));

    const SocketHandle socket{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (socket.descriptor < 0) return false;
    const ssize_t sent = ::sendto(socket.descriptor, state.data(), state.size(), MSG_NOSIGNAL,
                                  reinterpret_cast<const sockaddr*>(&target), length);
    return sent >= 0 && static_cast<std::size_t>(sent) == state.size();
}

} // namespace Kyr::WbmHost
