#pragma once
#include <httplib.h>

#include <chrono>
#include <cstddef>

namespace Kyr::WbmHost {

// The HTTP library reads a request's start line and headers without any limit of size or time: a
// client could fill the memory with endless headers, or hold a thread by sending them slowly. This
// server reads every connection through a stream that allows them at most `headerBytes` bytes and
// `headerTime` per request (a request over either gets 400 and the connection ends). Bodies are
// limited elsewhere (Content-Length, payload limit, body time).
class HeaderLimitedServer : public httplib::Server {
public:
    HeaderLimitedServer(std::size_t headerBytes, std::chrono::seconds headerTime)
        : headerBytes(headerBytes), headerTime(headerTime) {}

private:
    // Replaces the library's connection loop (keep-alive included) with one over the limited stream.
    bool process_and_close_socket(socket_t sock) override;
    bool WaitForNextRequest(socket_t sock) const;

    const std::size_t headerBytes;
    const std::chrono::seconds headerTime;
};

} // namespace Kyr::WbmHost
