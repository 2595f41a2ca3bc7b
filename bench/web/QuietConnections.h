#pragma once
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>

#include <atomic>
#include <thread>

#include "Endpoint.h"

namespace Kyr::WebBench {

// The connections of an abuser or of many forgotten browser tabs, held on a thread of their own:
// `idle` ones that send nothing (after the TLS handshake on a TLS endpoint) and `slow` ones that send a
// request head one byte per second. All come from 127.0.<block>.x, `perAddress` per address. One the
// server closes is opened again at once, so that the load stays while it is measured against.
class QuietConnections {
public:
    QuietConnections(const Endpoint& endpoint, unsigned idle, unsigned slow, unsigned sourceBlock, unsigned perAddress);
    ~QuietConnections(); // closes them all

    unsigned Open() const { return open.load(); }
    unsigned ClosedByServer() const { return closedByServer.load(); }
    unsigned Failed() const { return failed.load(); } // could not connect or handshake

    struct Counters {
        std::atomic<unsigned>& open;
        std::atomic<unsigned>& closedByServer;
        std::atomic<unsigned>& failed;
        const std::atomic<bool>& stopping;
    };

private:
    std::atomic<unsigned> open{0}, closedByServer{0}, failed{0};
    std::atomic<bool> stopping{false};
    boost::asio::ssl::context tls;
    boost::asio::io_context io{1};
    std::thread thread;
};

} // namespace Kyr::WebBench
