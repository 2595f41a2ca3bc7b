#include "net/TlsContext.h"

#include <openssl/ssl.h>

#include <stdexcept>

namespace Kyr::WbmHost {

namespace ssl = boost::asio::ssl;

namespace {
// TLS 1.2 suites with ephemeral key exchange and AEAD; TLS 1.3 has only such suites.
constexpr const char* tls12Suites =
    "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:ECDHE-ECDSA-AES256-GCM-SHA384:"
    "ECDHE-RSA-AES256-GCM-SHA384:ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305";

void Require(bool ok, const std::string& what) {
    if (!ok) throw std::runtime_error(what);
}
} // namespace

TlsContext::TlsContext(std::string certificateFile, std::string keyFile)
    : certificateFile(std::move(certificateFile)), keyFile(std::move(keyFile)), current(Load()) {}

std::shared_ptr<ssl::context> TlsContext::Load() const {
    auto context = std::make_shared<ssl::context>(ssl::context::tls_server);
    SSL_CTX* native = context->native_handle();
    Require(SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION) == 1, "Cannot limit TLS to 1.2 and newer");
    SSL_CTX_set_options(native, SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_NO_RENEGOTIATION);
    // Idle connections give their read and write buffers back.
    SSL_CTX_set_mode(native, SSL_MODE_RELEASE_BUFFERS);
    Require(SSL_CTX_set_cipher_list(native, tls12Suites) == 1, "No TLS 1.2 cipher suite available");
    boost::system::error_code error;
    context->use_certificate_chain_file(certificateFile, error);
    Require(!error, "Cannot use the TLS certificate " + certificateFile + ": " + error.message());
    context->use_private_key_file(keyFile, ssl::context::pem, error);
    Require(!error, "Cannot use the TLS key " + keyFile + ": " + error.message());
    Require(SSL_CTX_check_private_key(native) == 1, "The TLS key " + keyFile + " does not belong to " + certificateFile);
    return context;
}

std::shared_ptr<ssl::context> TlsContext::Current() const {
    std::lock_guard<std::mutex> lock(mutex);
    return current;
}

bool TlsContext::Reload(std::string& error) {
    try {
        auto fresh = Load();
        std::lock_guard<std::mutex> lock(mutex);
        current = std::move(fresh);
        return true;
    } catch (const std::exception& failure) {
        error = failure.what();
        return false;
    }
}

} // namespace Kyr::WbmHost
