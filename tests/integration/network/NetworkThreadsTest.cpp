// Which thread answers: requests answered from memory are given on the network thread, so they come
// even while every worker is busy; everything else waits for a worker.
#include <gtest/gtest.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <condition_variable>
#include <mutex>

#include "http/Router.h"
#include "net/RequestHandler.h"
#include "net/WebServer.h"

namespace Kyr::WbmHost {
namespace {

namespace net = boost::asio;
namespace http = boost::beast::http;
using tcp = net::ip::tcp;

// "/slow" holds its worker until released; "/fast" is answered from memory.
class GatedHandler final : public RequestHandler {
public:
    GatedHandler() {
        router.Add("GET", "/slow", [this](HttpRequest&, HttpResponse& response) {
            std::unique_lock<std::mutex> lock(mutex);
            ++held;
            changed.notify_all();
            changed.wait(lock, [this] { return released; });
            response.SetContent("slow", "text/plain");
        });
        router.Add("GET", "/fast", [](HttpRequest&, HttpResponse& response) { response.SetContent("fast", "text/plain"); },
                   AlwaysFromMemory);
    }
    std::size_t BodyLimit(const HttpRequest&) const override { return 0; }
    bool AnswersFromMemory(HttpRequest& request) const override { return router.AnswersFromMemory(request); }
    void Handle(HttpRequest& request, HttpResponse& response) override { router.Dispatch(request, response); }

    void WaitUntilHeld(int count) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return held >= count; });
    }
    void Release() {
        std::lock_guard<std::mutex> lock(mutex);
        released = true;
        changed.notify_all();
    }

private:
    Router router;
    std::mutex mutex;
    std::condition_variable changed;
    int held = 0;
    bool released = false;
};

// A client whose reads fail after a while instead of hanging the test when no answer comes.
class Client {
public:
    explicit Client(int port) : stream(io) { stream.connect(tcp::endpoint(net::ip::make_address("127.0.0.1"), static_cast<unsigned short>(port))); }
    void Send(const std::string& target) {
        http::request<http::empty_body> request(http::verb::get, target, 11);
        request.set(http::field::host, "127.0.0.1");
        http::write(stream, request);
    }
    http::response<http::string_body> Receive() {
        http::response<http::string_body> response;
        boost::beast::error_code error;
        stream.expires_after(std::chrono::seconds(20));
        http::async_read(stream, buffer, response, [&](boost::beast::error_code result, std::size_t) { error = result; });
        io.restart();
        io.run();
        EXPECT_FALSE(error) << error.message();
        return response;
    }

private:
    net::io_context io;
    boost::beast::tcp_stream stream;
    boost::beast::flat_buffer buffer;
};

TEST(NetworkThreads, AnswersFromMemoryComeWhileEveryWorkerIsBusy) {
    ServerLimits limits;
    limits.workerThreads = 2;
    GatedHandler handler;
    WebServer server(limits);
    const int port = server.Listen("127.0.0.1", 0, handler, nullptr);
    server.Start();

    std::vector<std::unique_ptr<Client>> slow;
    for (int i = 0; i < 2; ++i) {
        slow.push_back(std::make_unique<Client>(port));
        slow.back()->Send("/slow");
    }
    handler.WaitUntilHeld(2); // both workers held

    for (int i = 0; i < 4; ++i) { // on new connections, so on each network thread
        Client fast(port);
        fast.Send("/fast");
        const auto answer = fast.Receive();
        EXPECT_EQ(answer.result_int(), 200);
        EXPECT_EQ(answer.body(), "fast");
    }

    handler.Release();
    for (auto& client : slow) EXPECT_EQ(client->Receive().body(), "slow");
    server.Stop();
}

} // namespace
} // namespace Kyr::WbmHost
