#pragma once
#include <string>

namespace Kyr::IntegrationTests {

// A TCP connection to the host from a chosen loopback address, for requests the web client would
// never send (slow, malformed, smuggled) and for holding connections open.
class RawConnection {
public:
    RawConnection(int port, const std::string& fromAddress = "127.0.0.1");
    ~RawConnection();
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    bool Connected() const { return fd >= 0; }
    bool Send(const std::string& bytes);
    // What arrives until the host closes the connection or `silenceMs` pass without a byte.
    std::string Receive(int silenceMs = 500);
    // Whether the host has closed the connection (waits at most `waitMs` for it).
    bool ClosedByHost(int waitMs);

private:
    int fd = -1;
};

// Sends `request` as it is on a new connection; answers what comes back (see Receive).
inline std::string RawExchange(int port, const std::string& request) {
    RawConnection connection(port);
    connection.Send(request);
    return connection.Receive();
}

} // namespace Kyr::IntegrationTests
