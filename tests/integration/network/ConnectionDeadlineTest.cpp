// A connection's deadline over a real socket pair: the read under way ends with the timeout when the
// deadline passes, not before, whichever way the deadline moved while the timer waited.
#include <gtest/gtest.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/error.hpp>

#include <chrono>
#include <optional>

#include "net/ConnectionStream.h"

namespace Kyr::WbmHost {
namespace {

namespace net = boost::asio;
using tcp = net::ip::tcp;
using namespace std::chrono_literals;
using Clock = ConnectionStream::Clock;

// A client socket and the server's stream of the same loopback connection, on one event loop.
struct Connection {
    net::io_context io{1};
    tcp::socket client{io};
    ConnectionStream stream{Accepted(io, client)};

    static ConnectionSocket Accepted(net::io_context& io, tcp::socket& client) {
        tcp::acceptor acceptor(io, tcp::endpoint(net::ip::make_address("127.0.0.1"), 0));
        client.connect(acceptor.local_endpoint());
        return acceptor.accept(io.get_executor());
    }
};

struct Moves {
    const char* what;
    std::chrono::milliseconds first;                  // the deadline set before the read
    std::optional<std::chrono::milliseconds> second;  // set again right after (none: kept)
    bool never;                                       // then no deadline at all
    std::chrono::milliseconds clientSendsAfter;       // when the client's byte comes
    bool expectTimeout;
    std::chrono::milliseconds atLeast;                // how long the read lasts at least
};

TEST(ConnectionDeadlineTest, TheReadEndsWhenTheDeadlineInForcePasses) {
    const Moves cases[] = {
        {"a deadline that passes", 100ms, std::nullopt, false, 2000ms, true, 90ms},
        {"moved earlier", 2000ms, 100ms, false, 2000ms, true, 90ms},
        {"moved later: the earlier wait does not end the read", 50ms, 300ms, false, 2000ms, true, 290ms},
        {"moved later, and the byte comes in time", 50ms, 600ms, false, 200ms, false, 190ms},
        {"taken away", 50ms, std::nullopt, true, 200ms, false, 190ms},
    };
    for (const Moves& test : cases) {
        Connection connection;
        // Plain references: lambdas may not capture structured bindings in C++17.
        auto& io = connection.io;
        auto& client = connection.client;
        auto& stream = connection.stream;

        stream.ExpiresAfter(test.first);
        if (test.second) stream.ExpiresAfter(*test.second);
        if (test.never) stream.ExpiresNever();
        char byte = 0;
        boost::system::error_code outcome = net::error::would_block;
        const auto started = Clock::now();
        Clock::duration lasted{};
        net::steady_timer send(io, test.clientSendsAfter);
        stream.async_read_some(net::buffer(&byte, 1), [&](boost::system::error_code error, std::size_t) {
            outcome = error;
            lasted = Clock::now() - started;
            send.cancel();
        });
        send.async_wait([&](boost::system::error_code error) {
            if (!error) net::write(client, net::buffer("x", 1));
        });
        io.run_for(3s);

        EXPECT_EQ(outcome == boost::beast::error::timeout, test.expectTimeout) << test.what << ": " << outcome.message();
        if (!test.expectTimeout) {
            EXPECT_FALSE(outcome) << test.what;
        }
        EXPECT_GE(lasted, test.atLeast) << test.what;
        EXPECT_LT(lasted, test.atLeast + 1000ms) << test.what;
    }
}

// Once passed, the deadline also ends what comes after it, until a new one is set.
TEST(ConnectionDeadlineTest, APassedDeadlineEndsLaterOperationsUntilANewOne) {
    Connection connection;
    auto& io = connection.io;
    auto& stream = connection.stream;
    char byte = 0;
    std::vector<boost::system::error_code> outcomes;
    auto record = [&](boost::system::error_code error, std::size_t) { outcomes.push_back(error); };

    stream.ExpiresAfter(50ms);
    stream.async_read_some(net::buffer(&byte, 1), record);
    io.run_for(500ms);
    io.restart();
    stream.async_write_some(net::buffer("answer", 6), record);
    io.run_for(200ms);
    io.restart();
    stream.ExpiresAfter(1s);
    stream.async_write_some(net::buffer("answer", 6), record);
    io.run_for(200ms);

    ASSERT_EQ(outcomes.size(), 3u);
    EXPECT_EQ(outcomes[0], boost::beast::error::timeout);
    EXPECT_EQ(outcomes[1], boost::beast::error::timeout);
    EXPECT_FALSE(outcomes[2]) << outcomes[2].message();
}

// Waiting for a request's first bytes holds no buffer and takes nothing: the bytes are read after it.
TEST(ConnectionDeadlineTest, WaitingForBytesTakesNoneAndEndsAtTheDeadline) {
    Connection connection;
    auto& io = connection.io;
    auto& client = connection.client;
    auto& stream = connection.stream;
    std::vector<boost::system::error_code> outcomes;
    char byte = 0;

    stream.ExpiresAfter(1s);
    net::write(client, net::buffer("x", 1));
    stream.async_wait_readable([&](boost::system::error_code error, std::size_t) {
        outcomes.push_back(error);
        stream.async_read_some(net::buffer(&byte, 1), [&](boost::system::error_code error, std::size_t) { outcomes.push_back(error); });
    });
    io.run_for(500ms);
    io.restart();
    stream.ExpiresAfter(50ms);
    stream.async_wait_readable([&](boost::system::error_code error, std::size_t) { outcomes.push_back(error); });
    io.run_for(500ms);

    ASSERT_EQ(outcomes.size(), 3u);
    EXPECT_FALSE(outcomes[0]) << outcomes[0].message();
    EXPECT_FALSE(outcomes[1]) << outcomes[1].message();
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(outcomes[2], boost::beast::error::timeout);
}

} // namespace
} // namespace Kyr::WbmHost
