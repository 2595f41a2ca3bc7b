#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "fakes/TempDir.h"
#include "service/ServiceManagerNotify.h"

using Kyr::WbmHost::NotifyServiceManager;
using Kyr::WbmHost::RunningUnderServiceManager;

namespace {

// A service manager's end of the protocol: a datagram socket bound to a path or an abstract name.
class NotifyListener {
public:
    explicit NotifyListener(const std::string& address) : descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un bound{};
        bound.sun_family = AF_UNIX;
        std::memcpy(bound.sun_path, address.data(), address.size());
        if (address.front() == '@') bound.sun_path[0] = '\0';
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
        bound_ = descriptor >= 0 && ::bind(descriptor, reinterpret_cast<const sockaddr*>(&bound), length) == 0;
    }
    ~NotifyListener() { ::close(descriptor); }
    bool Bound() const { return bound_; }

    // The datagram waiting, if any (delivery on a local datagram socket is complete when sendto returns).
    std::optional<std::string> Received() const {
        char buffer[512];
        const ssize_t size = ::recv(descriptor, buffer, sizeof buffer, MSG_DONTWAIT);
        if (size < 0) return std::nullopt;
        return std::string(buffer, static_cast<std::size_t>(size));
    }

private:
    int descriptor;
    bool bound_ = false;
};

// Sets $NOTIFY_SOCKET (or removes it for nullopt) and restores the previous value.
class ScopedNotifySocket {
public:
    explicit ScopedNotifySocket(const std::optional<std::string>& value) {
        if (const char* old = std::getenv("NOTIFY_SOCKET")) previous = old;
        Set(value);
    }
    ~ScopedNotifySocket() { Set(previous); }

private:
    static void Set(const std::optional<std::string>& value) {
        if (value) ::setenv("NOTIFY_SOCKET", value->c_str(), 1);
        else ::unsetenv("NOTIFY_SOCKET");
    }
    std::optional<std::string> previous;
};

std::string AbstractName(const char* purpose) { return "@kyr-notify-test-" + std::to_string(::getpid()) + "-" + purpose; }

} // namespace

TEST(ServiceManagerNotifyTest, DeliversEachMessageAsOneDatagramToAPathOrAnAbstractSocket) {
    const Kyr::Testing::TempDir folder;
    struct Case { std::string address; std::string state; bool throughEnvironment; };
    for (const Case& c : {Case{(folder.Path() / "notify").string(), "READY=1", false},
                          Case{AbstractName("explicit"), "STOPPING=1\nSTATUS=Stopping", false},
                          Case{(folder.Path() / "notify-env").string(), "READY=1\nMAINPID=1", true},
                          Case{AbstractName("env"), "STOPPING=1", true}}) {
        SCOPED_TRACE(c.address);
        const NotifyListener manager(c.address);
        ASSERT_TRUE(manager.Bound());
        const ScopedNotifySocket environment(c.throughEnvironment ? std::optional(c.address) : std::nullopt);
        EXPECT_EQ(RunningUnderServiceManager(), c.throughEnvironment);
        EXPECT_TRUE(c.throughEnvironment ? NotifyServiceManager(c.state) : NotifyServiceManager(c.state, c.address));
        EXPECT_EQ(manager.Received(), c.state);
        EXPECT_EQ(manager.Received(), std::nullopt) << "exactly one datagram";
    }
}

TEST(ServiceManagerNotifyTest, WithoutAReachableServiceManagerNothingIsSentAndTheHostGoesOn) {
    const Kyr::Testing::TempDir folder;
    struct Case { std::optional<std::string> environment; bool recognised; };
    for (const Case& c : {Case{std::nullopt, false}, Case{"", false}, Case{"@", false}, Case{"relative/notify", false},
                          Case{"vsock:2:1234", false}, Case{(folder.Path() / "nobody-listens").string(), true},
                          Case{"/" + std::string(sizeof(sockaddr_un::sun_path), 'x'), true},
                          Case{AbstractName("nobody-listens"), true}}) {
        SCOPED_TRACE(c.environment.value_or("(unset)"));
        const ScopedNotifySocket environment(c.environment);
        EXPECT_EQ(RunningUnderServiceManager(), c.recognised);
        EXPECT_FALSE(NotifyServiceManager("READY=1"));
    }
}
