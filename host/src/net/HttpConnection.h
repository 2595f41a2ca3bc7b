#pragma once
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include <memory>

#include "http/WorkerPool.h"
#include "net/ConnectionLimits.h"
#include "net/ConnectionStream.h"
#include "net/HandshakeGate.h"
#include "net/ConnectionRegistry.h"
#include "net/RequestHandler.h"
#include "net/ServerLimits.h"

namespace Kyr::WbmHost {

// What all connections of a server share; it outlives them.
struct ConnectionContext {
    const ServerLimits& limits;
    RequestHandler& handler;
    WorkerPool& workers;
    ConnectionRegistry& registry;
    HandshakeGate& handshakes;
};

using ConnectionSlot = std::unique_ptr<ConnectionLimits::Slot>;

// Serves HTTP/1.1 on an accepted socket until the client or a limit ends it.
void StartPlainConnection(ConnectionSocket socket, ConnectionSlot slot, ConnectionContext& context);

// The same over TLS. A client that speaks plain HTTP to this port gets a short plain answer saying
// so, and the connection ends.
void StartTlsConnection(ConnectionSocket socket, ConnectionSlot slot,
                        std::shared_ptr<boost::asio::ssl::context> tls, ConnectionContext& context);

} // namespace Kyr::WbmHost
