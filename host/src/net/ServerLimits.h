#pragma once
#include <chrono>
#include <cstddef>

namespace Kyr::WbmHost {

// What one client may cost the server. Each value is the documented default of a host option or a
// fixed limit of docs/http-api.md. An idle or slow connection costs memory only, never a thread.
struct ServerLimits {
    std::size_t maxConnections = 2048;          // in all; further ones are closed at once
    std::size_t maxConnectionsPerAddress = 64;  // from one IP address (a few browsers with 6 each)
    std::size_t headerBytes = 8 * 1024;         // all header fields together (431)
    std::size_t targetBytes = 8 * 1024;         // the request target (414)
    std::size_t headBytes = 17 * 1024;          // start line and headers as received
    std::size_t bodyWithoutSession = 4 * 1024;  // (413)
    std::size_t bodyWithSession = 1024 * 1024;  // (413): JSON documents, the LDAP file
    std::size_t formBody = 64 * 1024;           // (413): the module's form functions (their expressions'
                                                // search time grows with the text)
    std::chrono::seconds headTime{10};          // a request's head, from its first byte (or the connect)
    std::chrono::seconds bodyTime{30};          // a request's body, from the end of its head (408)
    std::chrono::seconds keepAliveIdle{15};     // between two requests of a connection
    std::chrono::seconds writeTime{10};         // to send one answer
    std::size_t ioThreads = 2;                  // network threads for all connections
    std::size_t workerThreads = 4;              // threads for request functions
    std::size_t queuedRequests = 64;            // requests waiting for a worker (503 beyond)
    std::size_t concurrentHandshakes = 16;      // TLS handshakes in progress at once; further ones wait
                                                // (each takes about 40 KiB and a key exchange's CPU)
    std::chrono::seconds stopGrace{10};         // answers in flight may finish during a stop
    bool logEveryAnswer = false;                // a log line per answer (--access-log): a formatted,
                                                // written line costs about as much as a small answer;
                                                // answers 5xx are logged always
};

} // namespace Kyr::WbmHost
