// The web benchmark's own parts: what it takes from a server's output, where its clients come from,
// and a short bounded run of its load against the hello server, plain and over TLS.
#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "Endpoint.h"
#include "KeepAliveLoad.h"
#include "OneRequest.h"
#include "QuietConnections.h"
#include "ServerProcess.h"
#include "net/DeviceCertificate.h"

namespace fs = std::filesystem;
using namespace Kyr::WebBench;
using tcp = boost::asio::ip::tcp;


TEST(WebLoadAddresses, ListeningLinesGiveLoopbackEndpointsOnly) {
    struct Case {
        const char* line;
        bool valid;
        const char* host;
        unsigned port;
        bool tls;
    };
    const Case cases[] = {
        {"Listening on https://127.0.0.1:8443", true, "127.0.0.1", 8443, true},
        {"Listening on http://127.0.0.1:40123", true, "127.0.0.1", 40123, false},
        {"Listening on http://127.3.2.1:80/ (plain HTTP)", true, "127.3.2.1", 80, false},
        // Never load a server that is not on this machine.
        {"Listening on http://10.0.0.1:80", false, "", 0, false},
        {"Listening on https://[::1]:8443", false, "", 0, false},
        {"Listening on ftp://127.0.0.1:21", false, "", 0, false},
        {"Listening on http://127.0.0.1:0", false, "", 0, false},
        {"Listening on http://127.0.0.1:65536", false, "", 0, false},
        {"Listening on http://127.0.0.1:80x", false, "", 0, false},
        {"Certificate SHA-256 fingerprint: AB:CD", false, "", 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        if (!c.valid) {
            EXPECT_THROW(ParseListeningLine(c.line), std::invalid_argument);
            continue;
        }
        Endpoint endpoint = ParseListeningLine(c.line);
        EXPECT_EQ(endpoint.host, c.host);
        EXPECT_EQ(endpoint.port, c.port);
        EXPECT_EQ(endpoint.tls, c.tls);
    }
}

TEST(WebLoadAddresses, ConnectionsFillEachSourceAddressUpToTheLimit) {
    EXPECT_EQ(SourceAddress(1, 0, 32).to_string(), "127.0.1.1");
    EXPECT_EQ(SourceAddress(1, 31, 32).to_string(), "127.0.1.1");
    EXPECT_EQ(SourceAddress(1, 32, 32).to_string(), "127.0.1.2");
    EXPECT_EQ(SourceAddress(0, 1099, 32).to_string(), "127.0.0.35");
    EXPECT_THROW(SourceAddress(1, 254 * 32, 32), std::out_of_range);
}

TEST(WebLoadAnswers, JsonStringMembersAreFoundWithOrWithoutSpaces) {
    EXPECT_EQ(JsonStringMember(R"({"userName":"admin","csrfToken":"a1b2"})", "csrfToken"), "a1b2");
    EXPECT_EQ(JsonStringMember(R"({"csrfToken" : "c3", "x": 1})", "csrfToken"), "c3");
    EXPECT_EQ(JsonStringMember(R"({"csrfToken":null})", "csrfToken"), "");
    EXPECT_EQ(JsonStringMember(R"({"userName":"csrfToken"})", "csrfToken"), "");
    EXPECT_EQ(JsonStringMember(R"({"userName":"admin"})", "csrfToken"), "");
}

class WebLoadAgainstHello : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "web-load-test-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        std::vector<std::string> command{KYR_BUILD_BIN_DIR "/web_hello_server", "--listen", "127.0.0.1:0"};
        if (GetParam()) {
            auto files = Kyr::WbmHost::EnsureDeviceCertificate(folder.string(), {"127.0.0.1"});
            command.insert(command.end(), {"--tls-cert", files.certificate, "--tls-key", files.key});
        }
        hello = std::make_unique<ServerProcess>(command, folder.string(), "hello");
    }
    void TearDown() override {
        hello.reset();
        fs::remove_all(folder);
    }

    fs::path folder;
    std::unique_ptr<ServerProcess> hello;
};

TEST_P(WebLoadAgainstHello, KeepAliveLoadStopsAtItsRequestBoundWithEveryAnswerCounted) {
    ASSERT_EQ(hello->Address().tls, GetParam());
    auto tls = MakeClientTlsContext();
    LoadPlan plan;
    plan.endpoint = hello->Address();
    plan.target = "/";
    plan.connections = 5; // over two client addresses
    plan.perAddress = 3;
    plan.duration = std::chrono::seconds(30);
    plan.maxRequests = 200;
    LoadResult result = RunKeepAlive(plan, tls);
    EXPECT_EQ(result.answers, 200u);
    EXPECT_EQ(result.failures, 0u);
    EXPECT_GT(result.PerSecond(), 0);
}

TEST_P(WebLoadAgainstHello, QuietConnectionsStayOpenWhileANormalRequestIsAnswered) {
    auto tls = MakeClientTlsContext();
    {
        QuietConnections quiet(hello->Address(), 6, 2, 2, 4);
        auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (quiet.Open() < 8 && quiet.Failed() == 0 && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(quiet.Open(), 8u);
        EXPECT_EQ(quiet.Failed(), 0u);
        http::request<http::string_body> request{http::verb::get, "/", 11};
        request.set(http::field::host, "127.0.0.1");
        EXPECT_EQ(SendOne(hello->Address(), tls, request).status, 200u);
        EXPECT_EQ(quiet.ClosedByServer(), 0u); // the hello server has no deadlines
    }
    // The server is still alive after they went, and its memory can be read.
    EXPECT_GT(hello->StatusKiB("VmRSS").value_or(0), 0);
    EXPECT_TRUE(hello->ResetPeak());
}

INSTANTIATE_TEST_SUITE_P(PlainAndTls, WebLoadAgainstHello, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "Tls" : "Plain"; });

// The benchmark's way into the module, against the real host: if the login or the password change
// stops working, every module figure would silently be a figure of refusals.
TEST(WebLoadAgainstHost, TheAdministratorSessionReadsTheModuleAndRefusalsCountAsFailures) {
    std::string pattern = (fs::temp_directory_path() / "web-load-host-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    fs::path folder = pattern;
    {
        ServerProcess host({KYR_BUILD_BIN_DIR "/wbm-host", "--listen", "127.0.0.1:0", "--data-dir",
                            (folder / "data").string(), "--hash-cost", "min", "--admin-password", "Load-Initial-1x"},
                           folder.string(), "host");
        ASSERT_TRUE(host.Address().tls);
        auto tls = MakeClientTlsContext();
        AdminSession session = LogInAdministrator(host.Address(), tls, "Load-Initial-1x", "Load-Working-2y");
        EXPECT_EQ(session.cookie.rfind("session=", 0), 0u);
        EXPECT_FALSE(session.csrfToken.empty());

        LoadPlan plan;
        plan.endpoint = host.Address();
        plan.target = "/api/UserManagementDp/GetUserManagementConfig";
        plan.connections = 2;
        plan.duration = std::chrono::seconds(30);
        plan.maxRequests = 20;
        plan.cookie = session.cookie;
        LoadResult withSession = RunKeepAlive(plan, tls);
        EXPECT_EQ(withSession.answers, 20u);
        EXPECT_EQ(withSession.failures, 0u);

        plan.cookie.clear();
        LoadResult without = RunKeepAlive(plan, tls);
        EXPECT_EQ(without.answers, 0u);
        EXPECT_GE(without.failures, 1u);
        EXPECT_LE(without.failures, 22u); // the refused requests and at most the two connections
    }
    fs::remove_all(folder);
}

// A server that closes each connection at once: the quiet load must come back each time, so that
// it is still there while the normal request is measured.
TEST(WebLoadQuiet, ConnectionsTheServerClosesAreOpenedAgain) {
    boost::asio::io_context io;
    tcp::acceptor acceptor(io, tcp::endpoint(boost::asio::ip::make_address("127.0.0.1"), 0));
    Endpoint endpoint{"127.0.0.1", acceptor.local_endpoint().port(), false};
    std::atomic<unsigned> accepted{0};
    std::vector<tcp::socket> kept; // touched by the server thread only
    std::function<void()> acceptNext = [&] {
        acceptor.async_accept([&](boost::system::error_code error, tcp::socket socket) {
            if (error) return;
            if (++accepted <= 6) socket.close(); // the first six are closed, later ones kept
            else kept.push_back(std::move(socket));
            acceptNext();
        });
    };
    acceptNext();
    std::thread server([&] { io.run(); });
    {
        QuietConnections quiet(endpoint, 3, 0, 3, 2);
        auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while ((quiet.ClosedByServer() < 6 || quiet.Open() < 3) && std::chrono::steady_clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(quiet.ClosedByServer(), 6u);
        EXPECT_EQ(quiet.Open(), 3u);
        EXPECT_EQ(quiet.Failed(), 0u);
    }
    boost::asio::post(io, [&] { acceptor.close(); kept.clear(); });
    server.join();
}

TEST(WebLoadServerProcess, AServerThatNeverListensIsReportedWithItsError) {
    fs::path folder = fs::temp_directory_path() / ("web-load-test-" + std::to_string(getpid()));
    fs::create_directories(folder);
    try {
        ServerProcess process({KYR_BUILD_BIN_DIR "/web_hello_server", "--bogus", "x"}, folder.string(), "broken");
        ADD_FAILURE() << "a server that exits at once was taken as listening";
    } catch (const std::runtime_error& failure) {
        EXPECT_NE(std::string(failure.what()).find("Usage"), std::string::npos) << failure.what();
    }
    fs::remove_all(folder);
}
