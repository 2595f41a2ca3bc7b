#pragma once
#include <boost/asio/ssl/context.hpp>

#include <chrono>
#include <cstdint>
#include <string>

#include "Endpoint.h"

namespace Kyr::WebBench {

// `connections` kept-alive connections each send `GET target` again as soon as the answer is in, from
// one client thread, until `duration` has passed or `maxRequests` answers came back (whichever is
// first). Connections are made (and TLS handshakes done) before the clock starts: this measures
// requests on open connections only.
struct LoadPlan {
    Endpoint endpoint;
    std::string target;
    std::string cookie; // sent as the Cookie header when not empty
    unsigned connections = 1;
    unsigned sourceBlock = 0; // client addresses 127.0.<block>.1, .2, ...
    unsigned perAddress = 32; // connections per client address
    std::chrono::milliseconds duration{2000};
    std::uint64_t maxRequests = 1'000'000;
};

struct LoadResult {
    std::uint64_t answers = 0;  // 200 answers
    std::uint64_t failures = 0; // other answers, and connections lost or refused
    double seconds = 0;
    double PerSecond() const { return seconds > 0 ? static_cast<double>(answers) / seconds : 0; }
};

LoadResult RunKeepAlive(const LoadPlan& plan, boost::asio::ssl::context& tls);

} // namespace Kyr::WebBench
