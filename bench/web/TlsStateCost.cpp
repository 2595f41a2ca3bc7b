// What the TLS library itself keeps for an established connection on the server side, measured in
// one process: OpenSSL's allocations are counted through its own memory hooks while a server and a
// client make connections over in-memory BIO pairs. It shows the floor under any server's memory for
// many quiet TLS connections, whatever the server does itself.
//
//   web_tls_state_cost [--connections N]
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// OpenSSL's memory hooks take no context pointer, so the tally is a file-scope variable of this
// single-threaded measuring program.
struct Tally {
    bool countingServer = false; // allocations made now belong to the server's connections
    long long serverBytes = 0;
} tally;

// Each block carries its size and owner in front, so that a free is charged to whoever allocated.
struct alignas(16) BlockHead {
    std::size_t size;
    bool server;
};

void* Allocate(std::size_t size, const char*, int) {
    auto* head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + size));
    if (!head) return nullptr;
    head->size = size;
    head->server = tally.countingServer;
    if (head->server) tally.serverBytes += static_cast<long long>(size);
    return head + 1;
}

void Free(void* block, const char*, int) {
    if (!block) return;
    auto* head = static_cast<BlockHead*>(block) - 1;
    if (head->server) tally.serverBytes -= static_cast<long long>(head->size);
    std::free(head);
}

void* Reallocate(void* block, std::size_t size, const char* file, int line) {
    if (!block) return Allocate(size, file, line);
    void* fresh = Allocate(size, file, line);
    if (!fresh) return nullptr;
    const std::size_t old = (static_cast<BlockHead*>(block) - 1)->size;
    std::memcpy(fresh, block, old < size ? old : size);
    Free(block, file, line);
    return fresh;
}

void Require(bool ok, const char* what) {
    if (!ok) throw std::runtime_error(what);
}

// A server context like the device's: ECDSA P-256 certificate, TLS 1.2 and newer, buffers released
// while a connection is quiet.
SSL_CTX* ServerContext() {
    EVP_PKEY* key = EVP_EC_gen("P-256");
    X509* certificate = X509_new();
    Require(key && certificate, "cannot make a key");
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("device"), -1, -1, 0);
    X509_set_issuer_name(certificate, X509_get_subject_name(certificate));
    X509_set_pubkey(certificate, key);
    Require(X509_sign(certificate, key, EVP_sha256()) > 0, "cannot sign");
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    Require(SSL_CTX_use_certificate(context, certificate) == 1 && SSL_CTX_use_PrivateKey(context, key) == 1,
            "cannot use the certificate");
    X509_free(certificate);
    EVP_PKEY_free(key);
    return context;
}

struct Connection {
    SSL* server = nullptr;
    SSL* client = nullptr;
};

// Runs both ends until the handshake is done and the server's tickets are out.
void Handshake(Connection& connection) {
    for (int round = 0; round < 20; ++round) {
        tally.countingServer = true;
        const int server = SSL_do_handshake(connection.server);
        tally.countingServer = false;
        const int client = SSL_do_handshake(connection.client);
        if (server == 1 && client == 1) return;
    }
    throw std::runtime_error("the handshake did not finish");
}

// One request and its answer, as a keep-alive connection that has served a page.
void Exchange(Connection& connection) {
    char buffer[512];
    const char request[] = "GET /api/session HTTP/1.1\r\nHost: device\r\n\r\n";
    Require(SSL_write(connection.client, request, sizeof request - 1) > 0, "client write");
    tally.countingServer = true;
    const bool served = SSL_read(connection.server, buffer, sizeof buffer) > 0 &&
                        SSL_write(connection.server, "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}", 40) > 0;
    tally.countingServer = false;
    Require(served, "server exchange");
    Require(SSL_read(connection.client, buffer, sizeof buffer) > 0, "client read");
}

// Bytes the server keeps per connection: after the handshake, and after one request.
std::pair<double, double> Measure(SSL_CTX* serverContext, SSL_CTX* clientContext, unsigned count) {
    std::vector<Connection> connections(count);
    const long long start = tally.serverBytes;
    for (auto& connection : connections) {
        BIO* serverSide = nullptr;
        BIO* clientSide = nullptr;
        Require(BIO_new_bio_pair(&serverSide, 0, &clientSide, 0) == 1, "bio pair"); // the transport, not counted
        tally.countingServer = true;
        connection.server = SSL_new(serverContext);
        tally.countingServer = false;
        connection.client = SSL_new(clientContext);
        SSL_set_bio(connection.server, serverSide, serverSide);
        SSL_set_bio(connection.client, clientSide, clientSide);
        SSL_set_accept_state(connection.server);
        SSL_set_connect_state(connection.client);
        Handshake(connection);
        // The client takes in the server's tickets, as a browser does.
        char none[1];
        SSL_read(connection.client, none, 0);
    }
    const double quiet = static_cast<double>(tally.serverBytes - start) / count;
    for (auto& connection : connections) Exchange(connection);
    const double served = static_cast<double>(tally.serverBytes - start) / count;
    for (auto& connection : connections) {
        SSL_free(connection.client);
        tally.countingServer = true;
        SSL_free(connection.server);
        tally.countingServer = false;
    }
    return {quiet, served};
}

} // namespace

int main(int argc, char** argv) {
    unsigned count = 200;
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::string(argv[i]) == "--connections") count = static_cast<unsigned>(std::stoul(argv[i + 1]));
    if (!CRYPTO_set_mem_functions(Allocate, Reallocate, Free)) {
        std::fprintf(stderr, "OpenSSL allocated before its memory hooks were set\n");
        return 1;
    }
    try {
        SSL_CTX* server = ServerContext();
        SSL_CTX* client = SSL_CTX_new(TLS_client_method());
        std::printf("\nTLS library floor (%s, server side, %u connections made in memory, counted through its "
                    "memory hooks)\n",
                    OpenSSL_version(OPENSSL_VERSION), count);
        std::printf("%-10s %24s %24s %26s\n", "version", "KiB/conn after handshake", "KiB/conn after 1 request",
                    "MiB for 1,100 quiet conns");
        for (const auto& [name, version] : {std::pair{"TLS 1.3", TLS1_3_VERSION}, std::pair{"TLS 1.2", TLS1_2_VERSION}}) {
            SSL_CTX_set_max_proto_version(client, version);
            const auto [quiet, served] = Measure(server, client, count);
            std::printf("%-10s %24.1f %24.1f %26.1f\n", name, quiet / 1024, served / 1024, 1100 * quiet / 1024 / 1024);
        }
        SSL_CTX_free(client);
        SSL_CTX_free(server);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "web_tls_state_cost: %s\n", failure.what());
        return 1;
    }
    return 0;
}
