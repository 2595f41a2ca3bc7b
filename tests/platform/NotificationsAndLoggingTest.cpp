#include <gtest/gtest.h>

#include <stdexcept>

#include "fakes/CapturingLogSink.h"
#include "fakes/CapturingNotifications.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/NmPayload/Security/SecurityNotificationPayload.h"

using Kyr::String;
using Kyr::System::Commons::DateTime;
using Kyr::System::Commons::Logging::Loggable;
using Kyr::System::Commons::Logging::LogManager;
using namespace Kyr::System::Nm;
using namespace Kyr::System::NmPayload::Security;
using Kyr::Testing::CapturingLogSink;
using Kyr::Testing::CapturingNotifications;

TEST(NotificationTest, RegistrationSendsToEverySubscriberUntilDisposed) {
    CapturingNotifications first; // creates the manager
    NotificationManager& manager = first.GetManager();
    const auto failing = manager.Subscribe([](const Notification&) { throw std::runtime_error("disk full"); });
    CapturingNotifications capture; // subscribed after the failing subscriber
    CapturingLogSink log;
    NotificationRegistration<SecurityNotificationPayload> registration("Security.Test", "WBM", Severity::Error, manager);
    ASSERT_TRUE(registration.IsValid());
    EXPECT_FALSE(NotificationRegistration<SecurityNotificationPayload>("Security.Test", "X", Severity::Info, manager).IsValid())
        << "a name is registered once";

    EXPECT_NO_THROW(registration.Send(registration.GetNameId(), DateTime::GetUtcNow(), SecurityNotificationPayload("Invalid", {})));
    manager.Unsubscribe(failing);
    EXPECT_TRUE(log.Contains("disk full", 3));
    // Every field of what arrives is checked with the module's own notification (ModuleSetupTest.cpp).
    EXPECT_EQ(capture.GetNotifications().size(), 1u);

    NotificationRegistration<SecurityNotificationPayload> moved = std::move(registration);
    EXPECT_FALSE(registration.IsValid()); // NOLINT(bugprone-use-after-move): moved-from is invalid by contract
    moved.Dispose();
    EXPECT_FALSE(manager.IsRegistered("Security.Test"));
    moved.Send(1, DateTime::GetUtcNow(), SecurityNotificationPayload("after", {}));
    EXPECT_EQ(capture.GetNotifications().size(), 1u);
}

namespace {
struct LoggingSubject : Loggable<LoggingSubject> {};
struct Unprintable {}; // its formatter throws something that is no std::exception
} // namespace

template <>
struct fmt::formatter<Unprintable> {
    constexpr auto parse(fmt::format_parse_context& context) { return context.begin(); }
    template <class Context>
    auto format(const Unprintable&, Context& context) const -> decltype(context.out()) {
        throw 42;
    }
};

TEST(LoggableTest, FormatsOnlyPassingMessagesAndReplacesBrokenOnes) {
    CapturingLogSink sink;
    LoggingSubject::LogError("user {0} failed {1}", "bob", 3);
    LoggingSubject::LogInfo("{0} and {1}", "only one");
    LoggingSubject::LogError("{}", Unprintable{});
    LogManager::SetLogLevel(3);
    LoggingSubject::LogInfo("dropped {0}", Unprintable{}); // its level does not pass, so it is not formatted

    const auto lines = sink.GetLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].loggerName, "(anonymous namespace)::LoggingSubject");
    EXPECT_EQ(lines[0].level, 3);
    EXPECT_EQ(lines[0].text, "user bob failed 3");
    EXPECT_EQ(lines[1].level, 7);
    EXPECT_EQ(lines[1].text, "Exception occurs during format of log message: argument not found");
    EXPECT_EQ(lines[2].text, "Exception occurs during format of log message: Unknown exception");
}

TEST(LoggableTest, AFailingSinkDoesNotFailTheCaller) {
    struct FailingSink : Kyr::System::Commons::Logging::ILogSink {
        void Write(int, const String&, const String&) override { throw std::runtime_error("disk full"); }
    };
    CapturingLogSink restorer; // puts the previous sink back at the end
    LogManager::SetSink(std::make_shared<FailingSink>());
    EXPECT_NO_THROW(LoggingSubject::LogError("lost"));
}
