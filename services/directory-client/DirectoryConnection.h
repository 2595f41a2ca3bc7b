#pragma once
// One connection to one directory server over OpenLDAP's client library: protocol 3, no referrals,
// the configured connect and operation timeouts, TLS (ldaps:// or StartTLS) verified with the
// certificates of one device trust store. Every failure throws DirectoryError with the step it
// happened in and the server's own diagnostic text; never with a password.
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "DirectoryConfig.h"

typedef struct ldap LDAP;
struct ldap_conncb;

namespace Kyr::PlatformServices {

enum class DirectoryStep { Connect, Tls, ServiceBind, UserSearch, UserBind, Groups, Roles };

const char* DirectoryStepName(DirectoryStep step); // "connect", "tls", ...

class DirectoryError : public std::runtime_error {
public:
    DirectoryError(DirectoryStep step, const std::string& text) : std::runtime_error(text), step(step) {}
    const DirectoryStep step;
};

class DirectoryConnection {
public:
    // Connects and secures the connection (steps Connect, Tls).
    DirectoryConnection(const DirectoryConfig& config, const std::string& uri, const std::string& trustStoreFolder);
    ~DirectoryConnection();
    DirectoryConnection(const DirectoryConnection&) = delete;
    DirectoryConnection& operator=(const DirectoryConnection&) = delete;

    bool Secured() const { return secured; }
    // The subject of the server's certificate; empty without TLS.
    const std::string& PeerSubject() const { return peerSubject; }

    // Simple bind. False for wrong credentials (or an unknown DN); throws for anything else.
    bool Bind(const std::string& dn, const std::string& password, DirectoryStep step);

    struct Entry {
        std::string dn;
        std::vector<std::string> values; // of the one attribute asked for, if any
    };
    // Searches; at most `sizeLimit` entries (0: no limit). More than the limit throws.
    std::vector<Entry> Search(const std::string& base, SearchScope scope, const std::string& filter,
                              const std::string& attribute, int sizeLimit, DirectoryStep step);

private:
    void Open(const std::string& trustStoreFolder);
    [[noreturn]] void Fail(DirectoryStep step, const std::string& what, int code);
    std::string Diagnostic();

    const DirectoryConfig& config;
    const std::string uri;
    std::unique_ptr<ldap_conncb> callbacks; // outlives the handle, which calls it
    std::atomic<int> socket{-1}; // set by the callback once the TCP connection stands, before any TLS handshake
    LDAP* handle = nullptr;
    bool secured = false;
    std::string peerSubject;
};

// An LDAP filter assertion value with the characters * ( ) \ and NUL escaped (RFC 4515).
std::string EscapeFilterValue(const std::string& value);

} // namespace Kyr::PlatformServices
