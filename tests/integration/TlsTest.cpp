// HTTPS: the protocol versions taken, plain HTTP on the TLS port, the redirect listener, the security
// headers and cookies, and a certificate replaced while connections are open.
#include <openssl/crypto.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <signal.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <thread>

#include "HostTest.h"
#include "RawConnection.h"

namespace Kyr::IntegrationTests {
namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using TlsStream = beast::ssl_stream<beast::tcp_stream>;

// A TLS client limited to the protocol versions [minimum, maximum], accepting any certificate.
struct TlsClient {
    TlsClient(int port, int minimum, int maximum) : context(net::ssl::context::tls_client) {
        // Set before the stream exists: its TLS state copies the context's settings when it is made.
        SSL_CTX_set_security_level(context.native_handle(), 0); // let the old versions be offered at all
        SSL_CTX_set_min_proto_version(context.native_handle(), minimum);
        SSL_CTX_set_max_proto_version(context.native_handle(), maximum);
        context.set_verify_mode(net::ssl::verify_none);
        stream.emplace(io, context);
        beast::get_lowest_layer(*stream).expires_after(std::chrono::seconds(20));
        beast::get_lowest_layer(*stream).connect({net::ip::make_address("127.0.0.1"), static_cast<unsigned short>(port)});
    }
    bool Handshake() {
        beast::error_code error;
        stream->handshake(net::ssl::stream_base::client, error);
        return !error;
    }
    int Get(const std::string& path) {
        http::request<http::empty_body> request(http::verb::get, path, 11);
        request.set(http::field::host, "127.0.0.1");
        http::write(*stream, request);
        beast::flat_buffer buffer;
        http::response<http::string_body> response;
        http::read(*stream, buffer, response);
        return static_cast<int>(response.result_int());
    }
    // The SHA-256 digest of the certificate the host presented.
    std::string PeerFingerprint() {
        X509* certificate = SSL_get1_peer_certificate(stream->native_handle());
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        X509_digest(certificate, EVP_sha256(), digest, &length);
        X509_free(certificate);
        char* hex = OPENSSL_buf2hexstr(digest, length); // "AB:CD:..."
        const std::string text = hex;
        OPENSSL_free(hex);
        return text;
    }
    net::io_context io;
    net::ssl::context context;
    std::optional<TlsStream> stream;
};

struct TlsTest : HostTest {
    void SetUp() override {} // each test starts its host over TLS
    void StartTls(std::vector<std::string> extra = {}) { Start(std::move(extra), true); }
    std::string PrintedAfter(const std::string& prefix) const {
        for (const auto& line : host->StartLines())
            if (line.rfind(prefix, 0) == 0) return line.substr(prefix.size());
        return {};
    }
};

TEST_F(TlsTest, OnlyTls12And13AndNeverPlainHttp) {
    StartTls();
    struct Version { int minimum, maximum; bool taken; };
    for (const Version& version : {Version{TLS1_VERSION, TLS1_VERSION, false}, Version{TLS1_1_VERSION, TLS1_1_VERSION, false},
                                   Version{TLS1_2_VERSION, TLS1_2_VERSION, true}, Version{TLS1_3_VERSION, TLS1_3_VERSION, true}}) {
        TlsClient client(host->Port(), version.minimum, version.maximum);
        ASSERT_EQ(client.Handshake(), version.taken) << std::hex << version.maximum;
        if (version.taken) {
            EXPECT_EQ(client.Get("/api/session"), 200);
        }
    }
    const std::string plain = RawExchange(host->Port(), "GET /api/session HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(plain.rfind("HTTP/1.1 400", 0), 0u) << plain;
    EXPECT_NE(plain.find("HTTPS"), std::string::npos) << plain;
    EXPECT_EQ(plain.find("loggedIn"), std::string::npos);
}

TEST_F(TlsTest, AnswersCarryTheSecurityHeadersAndSecureCookies) {
    StartTls();
    WebClient client = Client();
    Answer login = client.Login("admin", InitialAdminPassword);
    ASSERT_EQ(login.status, 200);
    EXPECT_NE(login.Header("Set-Cookie").find("; Secure"), std::string::npos); // the other attributes: LoginTest
    for (const char* path : {"/api/session", "/login.html", "/no-such-file"}) {
        Answer answer = client.Get(path);
        EXPECT_EQ(answer.Header("Strict-Transport-Security"), "max-age=31536000") << path;
        EXPECT_EQ(answer.Header("X-Content-Type-Options"), "nosniff") << path;
        EXPECT_EQ(answer.Header("X-Frame-Options"), "DENY") << path;
        EXPECT_EQ(answer.Header("Referrer-Policy"), "no-referrer") << path;
        EXPECT_NE(answer.Header("Content-Security-Policy").find("script-src 'self'"), std::string::npos) << path;
    }
    EXPECT_EQ(PrintedAfter("Certificate SHA-256 fingerprint: ").size(), 95u);
}

TEST_F(TlsTest, RedirectListenerSendsEveryRequestToHttps) {
    StartTls({"--http-redirect-port", "0"});
    const std::string redirect = PrintedAfter("Redirecting http://127.0.0.1:");
    ASSERT_FALSE(redirect.empty());
    const int port = std::atoi(redirect.c_str());
    const std::string https = "https://127.0.0.1:" + std::to_string(host->Port());
    struct Case { std::string host, target, location; };
    for (const Case& request : {Case{"127.0.0.1", "/pages/UserManager?x=1", https + "/pages/UserManager?x=1"},
                                Case{"device.local:80", "/", "https://device.local:" + std::to_string(host->Port()) + "/"},
                                Case{"evil.test/steal", "/a", https + "/a"},
                                Case{"user@evil.test", "/a", https + "/a"}}) {
        Answer answer = WebClient(port).Send("GET", request.target, "", {{"Host", request.host}});
        EXPECT_EQ(answer.status, 301) << request.host;
        EXPECT_EQ(answer.Header("Location"), request.location) << request.host;
        EXPECT_EQ(answer.Header("Set-Cookie"), "");
    }
    EXPECT_EQ(WebClient(port).Send("POST", "/api/login", "{}", {{"Content-Type", "application/json"}}).status, 413);
}

TEST_F(TlsTest, ACertificateReplacedOnSighupServesNewConnectionsOnly) {
    const auto certificate = (temp.Path() / "server.crt").string(), key = (temp.Path() / "server.key").string();
    auto makePair = [&](const char* name) {
        const std::string command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=" +
                                    std::string(name) + " -keyout " + key + " -out " + certificate + " 2>/dev/null";
        ASSERT_EQ(std::system(command.c_str()), 0);
    };
    makePair("first");
    StartTls({"--tls-cert", certificate, "--tls-key", key});
    TlsClient open(host->Port(), TLS1_2_VERSION, TLS1_3_VERSION);
    ASSERT_TRUE(open.Handshake());
    const std::string before = open.PeerFingerprint();
    EXPECT_EQ(before, PrintedAfter("Certificate SHA-256 fingerprint: "));

    makePair("second");
    kill(host->Pid(), SIGHUP);
    std::string after = before;
    for (int attempt = 0; attempt < 50 && after == before; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        TlsClient fresh(host->Port(), TLS1_2_VERSION, TLS1_3_VERSION);
        ASSERT_TRUE(fresh.Handshake());
        after = fresh.PeerFingerprint();
    }
    EXPECT_NE(after, before) << "new connections still get the old certificate";
    EXPECT_EQ(open.Get("/api/session"), 200) << "the open connection was dropped";

    // A broken pair is refused and the current one stays.
    std::ofstream(key) << "not a key";
    kill(host->Pid(), SIGHUP);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    TlsClient still(host->Port(), TLS1_2_VERSION, TLS1_3_VERSION);
    ASSERT_TRUE(still.Handshake());
    EXPECT_EQ(still.PeerFingerprint(), after);
    EXPECT_NE(host->LogText().find("not reloaded"), std::string::npos);
}

} // namespace
} // namespace Kyr::IntegrationTests
