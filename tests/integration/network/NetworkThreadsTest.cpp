// Which thread answers: requests answered from memory are given on the network thread, so they come
// even while every worker is busy; everything else waits for a worker.
#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>

#include "RawConnection.h"
#include "http/Router.h"
#include "net/RequestHandler.h"
#include "net/WebServer.h"

namespace Kyr::WbmHost {
namespace {

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

// A request that asks the host to close the connection after its answer, so that reading it ends there.
std::string Request(const std::string& target) { return "GET " + target + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n"; }

TEST(NetworkThreads, AnswersFromMemoryComeWhileEveryWorkerIsBusy) {
    ServerLimits limits;
    limits.workerThreads = 2;
    GatedHandler handler;
    WebServer server(limits);
    const int port = server.Listen("127.0.0.1", 0, handler, nullptr);
    server.Start();

    std::vector<std::unique_ptr<IntegrationTests::RawConnection>> slow;
    for (int i = 0; i < 2; ++i) {
        slow.push_back(std::make_unique<IntegrationTests::RawConnection>(port));
        slow.back()->Send(Request("/slow"));
    }
    handler.WaitUntilHeld(2); // both workers held

    for (int i = 0; i < 4; ++i) { // on new connections, so on each network thread
        const std::string answer = IntegrationTests::RawExchange(port, Request("/fast"));
        EXPECT_EQ(answer.rfind("HTTP/1.1 200 ", 0), 0u) << answer;
        EXPECT_NE(answer.find("\r\n\r\nfast"), std::string::npos) << answer;
    }

    handler.Release();
    for (auto& client : slow) EXPECT_NE(client->Receive().find("\r\n\r\nslow"), std::string::npos);
    server.Stop();
}

} // namespace
} // namespace Kyr::WbmHost
