#pragma once
#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ssl/context.hpp>

#include <cstdint>
#include <string>

namespace Kyr::WebBench {

// Where a server under test listens: always a loopback address, over TLS or plain TCP.
struct Endpoint {
    std::string host = "127.0.0.1";
    std::uint16_t port = 0;
    bool tls = false;
};

// Parses the address a server prints when it is ready ("Listening on https://127.0.0.1:PORT").
// Throws std::invalid_argument for anything else, and for addresses outside 127.0.0.0/8: the
// benchmark never sends traffic off the machine.
Endpoint ParseListeningLine(const std::string& line);

// The client source address of connection `index` when at most `perAddress` connections share one
// address: 127.0.`block`.1, then .2 and so on. Spreads connections over loopback addresses so that a
// per-address connection limit applies to each group, never to the whole load.
boost::asio::ip::address_v4 SourceAddress(unsigned block, unsigned index, unsigned perAddress);

// A TLS client context that accepts the servers' self-signed certificates (loopback only).
boost::asio::ssl::context MakeClientTlsContext();

} // namespace Kyr::WebBench
