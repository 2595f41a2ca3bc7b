#include "DirectoryConnection.h"

#include <openssl/bio.h>
#include <openssl/x509.h>
#include <ldap.h>

#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace Kyr::PlatformServices {

namespace {

int ScopeCode(SearchScope scope) {
    switch (scope) {
    case SearchScope::Base: return LDAP_SCOPE_BASE;
    case SearchScope::OneLevel: return LDAP_SCOPE_ONELEVEL;
    case SearchScope::Subtree: break;
    }
    return LDAP_SCOPE_SUBTREE;
}

// The subject of a DER certificate, in the RFC 4514 form. Read with OpenSSL, which the product carries
// anyway, rather than with the directory client's own TLS library.
std::string SubjectOf(const berval& der) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.bv_val);
    std::unique_ptr<X509, void (*)(X509*)> certificate(d2i_X509(nullptr, &bytes, static_cast<long>(der.bv_len)), X509_free);
    if (!certificate) return {};
    std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new(BIO_s_mem()), BIO_free);
    if (!out || X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate.get()), 0, XN_FLAG_RFC2253) < 0) return {};
    char* data = nullptr;
    const long size = BIO_get_mem_data(out.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

// Called once the TCP connection stands, before an ldaps:// handshake: notes the socket, which the
// deadline guard may have to shut.
int OnConnected(LDAP*, Sockbuf* socketBuffer, LDAPURLDesc*, sockaddr*, ldap_conncb* callbacks) {
    auto* socket = static_cast<std::atomic<int>*>(callbacks->lc_arg);
    ber_socket_t fd = -1;
    if (ber_sockbuf_ctrl(socketBuffer, LBER_SB_OPT_GET_FD, &fd) == 1) *socket = fd;
    return 0;
}
void OnClosed(LDAP*, Sockbuf*, ldap_conncb*) {}

// Shuts the socket (once known) when the deadline passes before the guard goes.
class DeadlineGuard {
public:
    DeadlineGuard(const std::atomic<int>& socket, std::chrono::seconds limit)
        : watcher([this, &socket, limit] {
              std::unique_lock<std::mutex> lock(mutex);
              if (!finished.wait_for(lock, limit, [this] { return done; }) && socket >= 0) {
                  fired = true;
                  ::shutdown(socket, SHUT_RDWR);
              }
          }) {}
    bool Fired() const { return fired; }
    ~DeadlineGuard() {
        {
            std::lock_guard<std::mutex> lock(mutex);
            done = true;
        }
        finished.notify_one();
        watcher.join();
    }

private:
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    std::atomic<bool> fired{false};
    std::thread watcher; // last: starts once the members it uses exist
};

} // namespace

const char* DirectoryStepName(DirectoryStep step) {
    switch (step) {
    case DirectoryStep::Connect: return "connect";
    case DirectoryStep::Tls: return "tls";
    case DirectoryStep::ServiceBind: return "serviceBind";
    case DirectoryStep::UserSearch: return "userSearch";
    case DirectoryStep::UserBind: return "userBind";
    case DirectoryStep::Groups: return "groups";
    case DirectoryStep::Roles: return "roles";
    }
    return "unknown";
}

DirectoryConnection::DirectoryConnection(const DirectoryConfig& config, const std::string& uri,
                                         const std::string& trustStoreFolder)
    : config(config), uri(uri) {
    try {
        Open(trustStoreFolder);
    } catch (...) {
        if (handle) ldap_unbind_ext_s(handle, nullptr, nullptr);
        throw;
    }
}

void DirectoryConnection::Open(const std::string& trustStoreFolder) {
    int code = ldap_initialize(&handle, uri.c_str());
    if (code != LDAP_SUCCESS) Fail(DirectoryStep::Connect, "cannot use the server address", code);

    int version = LDAP_VERSION3;
    timeval connectTimeout{config.connectTimeoutSeconds, 0};
    timeval operationTimeout{config.operationTimeoutSeconds, 0};
    ldap_set_option(handle, LDAP_OPT_PROTOCOL_VERSION, &version);
    ldap_set_option(handle, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
    ldap_set_option(handle, LDAP_OPT_NETWORK_TIMEOUT, &connectTimeout);
    ldap_set_option(handle, LDAP_OPT_TIMEOUT, &operationTimeout);
    callbacks = std::make_unique<ldap_conncb>(ldap_conncb{OnConnected, OnClosed, &socket});
    ldap_set_option(handle, LDAP_OPT_CONNECT_CB, callbacks.get());

    const bool ldaps = uri.rfind("ldaps://", 0) == 0;
    const bool tls = ldaps || config.startTls;
    if (tls) {
        // Verification is never off: the trust store's certificates, nothing else, and the name must match.
        int demand = LDAP_OPT_X_TLS_DEMAND, newContext = 0;
        ldap_set_option(handle, LDAP_OPT_X_TLS_CACERTDIR, trustStoreFolder.c_str());
        ldap_set_option(handle, LDAP_OPT_X_TLS_REQUIRE_CERT, &demand);
        code = ldap_set_option(handle, LDAP_OPT_X_TLS_NEWCTX, &newContext);
        if (code != LDAP_OPT_SUCCESS)
            Fail(DirectoryStep::Tls, "cannot load the certificates of trust store '" + config.trustStore + "'", code);
    }

    // The library bounds the TCP connect, but not a TLS handshake with a server that never answers:
    // past the connect and one operation timeout the socket is shut, which ends any wait on it.
    DeadlineGuard guard(socket, std::chrono::seconds(config.connectTimeoutSeconds + config.operationTimeoutSeconds));
    const std::string late = "the server did not answer within " +
                             std::to_string(config.connectTimeoutSeconds + config.operationTimeoutSeconds) + " s";
    code = ldap_connect(handle);
    if (code != LDAP_SUCCESS && guard.Fired()) Fail(DirectoryStep::Tls, late, code);
    if (code != LDAP_SUCCESS) {
        // With ldaps:// the handshake is part of the connect: it failed when the TCP connection stood.
        bool handshake = ldaps && socket >= 0;
        Fail(handshake ? DirectoryStep::Tls : DirectoryStep::Connect,
             handshake ? "TLS handshake failed (is the server's certificate issued by a certificate of trust store '" +
                             config.trustStore + "', for the name in the address?)"
                       : "cannot reach the server",
             code);
    }
    if (tls && !ldaps) {
        code = ldap_start_tls_s(handle, nullptr, nullptr);
        if (code != LDAP_SUCCESS && guard.Fired()) Fail(DirectoryStep::Tls, late, code);
        if (code != LDAP_SUCCESS)
            Fail(DirectoryStep::Tls,
                 "StartTLS failed (is the server's certificate issued by a certificate of trust store '" +
                     config.trustStore + "', for the name in the address?)",
                 code);
    }
    if (tls) {
        secured = true;
        berval certificate{0, nullptr}; // filled in place; the bytes are the library's to free
        if (ldap_get_option(handle, LDAP_OPT_X_TLS_PEERCERT, &certificate) == LDAP_OPT_SUCCESS && certificate.bv_val) {
            peerSubject = SubjectOf(certificate);
            ber_memfree(certificate.bv_val);
        }
    }
}

DirectoryConnection::~DirectoryConnection() {
    if (handle) ldap_unbind_ext_s(handle, nullptr, nullptr);
}

bool DirectoryConnection::Bind(const std::string& dn, const std::string& password, DirectoryStep step) {
    // An empty password would be an unauthenticated bind, which servers answer with success.
    if (password.empty() || dn.empty()) return false;
    berval credentials{static_cast<ber_len_t>(password.size()), const_cast<char*>(password.data())};
    int code = ldap_sasl_bind_s(handle, dn.c_str(), LDAP_SASL_SIMPLE, &credentials, nullptr, nullptr, nullptr);
    if (code == LDAP_SUCCESS) return true;
    if (code == LDAP_INVALID_CREDENTIALS) return false;
    Fail(step, "bind as '" + dn + "' failed", code);
}

std::vector<DirectoryConnection::Entry> DirectoryConnection::Search(const std::string& base, SearchScope scope,
                                                                    const std::string& filter,
                                                                    const std::string& attribute, int sizeLimit,
                                                                    DirectoryStep step) {
    timeval timeout{config.operationTimeoutSeconds, 0};
    std::string attributeName = attribute.empty() ? std::string(LDAP_NO_ATTRS) : attribute;
    char* attributes[] = {attributeName.data(), nullptr};
    LDAPMessage* result = nullptr;
    // One more than the limit, so that an ambiguous answer is told apart from a full one.
    int code = ldap_search_ext_s(handle, base.c_str(), ScopeCode(scope), filter.c_str(), attributes, 0, nullptr,
                                 nullptr, &timeout, sizeLimit > 0 ? sizeLimit + 1 : 0, &result);
    std::unique_ptr<LDAPMessage, int (*)(LDAPMessage*)> owner(result, ldap_msgfree);
    if (code == LDAP_SIZELIMIT_EXCEEDED) Fail(step, "more than " + std::to_string(sizeLimit) + " entries match", code);
    if (code == LDAP_NO_SUCH_OBJECT) return {};
    if (code != LDAP_SUCCESS) Fail(step, "search below '" + base + "' failed", code);

    std::vector<Entry> entries;
    for (LDAPMessage* item = ldap_first_entry(handle, result); item; item = ldap_next_entry(handle, item)) {
        Entry entry;
        if (char* dn = ldap_get_dn(handle, item)) {
            entry.dn = dn;
            ldap_memfree(dn);
        }
        if (!attribute.empty()) {
            if (berval** values = ldap_get_values_len(handle, item, attribute.c_str())) {
                for (berval** value = values; *value; ++value) entry.values.emplace_back((*value)->bv_val, (*value)->bv_len);
                ldap_value_free_len(values);
            }
        }
        entries.push_back(std::move(entry));
    }
    if (sizeLimit > 0 && static_cast<int>(entries.size()) > sizeLimit)
        Fail(step, "more than " + std::to_string(sizeLimit) + " entries match", LDAP_SIZELIMIT_EXCEEDED);
    return entries;
}

std::string DirectoryConnection::Diagnostic() {
    char* message = nullptr;
    if (!handle || ldap_get_option(handle, LDAP_OPT_DIAGNOSTIC_MESSAGE, &message) != LDAP_OPT_SUCCESS || !message)
        return {};
    std::string text = message;
    ldap_memfree(message);
    return text;
}

void DirectoryConnection::Fail(DirectoryStep step, const std::string& what, int code) {
    std::string text = uri + ": " + what + ": " + ldap_err2string(code);
    std::string diagnostic = Diagnostic();
    if (!diagnostic.empty()) text += " (" + diagnostic + ")";
    throw DirectoryError(step, text);
}

std::string EscapeFilterValue(const std::string& value) {
    berval in{static_cast<ber_len_t>(value.size()), const_cast<char*>(value.data())};
    berval out{0, nullptr};
    if (ldap_bv2escaped_filter_value(&in, &out) != 0) throw std::bad_alloc();
    std::string escaped(out.bv_val, out.bv_len);
    ber_memfree(out.bv_val);
    return escaped;
}

} // namespace Kyr::PlatformServices
