#pragma once
// One connection to a syslog collector: TCP, or TLS verified against a device trust store. Blocking
// with timeouts; used only by the forwarder's own thread.
#include <openssl/ssl.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::PlatformServices {

class SyslogError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The TLS settings shared by every connection: peer verification against the PEM certificates in
// `trustStoreFolder` (each regular file in it). Throws SyslogError when none can be loaded.
std::shared_ptr<SSL_CTX> MakeSyslogTlsContext(const std::string& trustStoreFolder);

class SyslogConnection {
public:
    // Connects within `timeout` (and completes the TLS handshake when `tls` is given); throws
    // SyslogError saying why not. Sends and receives give up after `timeout` too.
    SyslogConnection(const SyslogTarget& target, const std::shared_ptr<SSL_CTX>& tls, std::chrono::milliseconds timeout);
    ~SyslogConnection();
    SyslogConnection(const SyslogConnection&) = delete;
    SyslogConnection& operator=(const SyslogConnection&) = delete;

    // Whether the collector closed its side (it never sends anything, so anything readable means an
    // end or an error). Checked before each send, so that a restarted collector loses no record.
    bool PeerClosed() const;
    void Send(const std::string& bytes); // throws SyslogError

private:
    int socket = -1;
    SSL* ssl = nullptr;
};

} // namespace Kyr::PlatformServices
