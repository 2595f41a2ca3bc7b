// The invalid-request security notification: what it carries, and its registration's lifetime.
#include <gtest/gtest.h>

#include "fakes/CapturingNotifications.h"
#include "notifications/SecurityNotifications.h"

namespace {

using Kyr::String;
using Kyr::Services::Modules::Wbm::Um::Internal::SecurityNotifications;
const String notificationName = "Security.Kyr.Services.Wbm.Um.InvalidRequest";

TEST(SecurityNotifications, CarriesRequestAndFunctionVerbatim) {
    Kyr::Testing::CapturingNotifications captured;
    {
        SecurityNotifications sender;
        sender.SendUserManagerInvalidRequest("username=a{0}&x={1}", "SetUserPassword");  // data, not placeholders
    }
    EXPECT_FALSE(captured.GetManager().IsRegistered(notificationName)) << "withdrawn with the sender";
    const auto notifications = captured.GetNotifications();
    ASSERT_EQ(notifications.size(), 1u);
    const auto& n = notifications.front();
    EXPECT_EQ(n.name, notificationName);
    EXPECT_EQ(n.senderName, "WBM");
    EXPECT_EQ(static_cast<int>(n.severity), 3);
    EXPECT_EQ(n.message, "Invalid Request. Request: username=a{0}&x={1}, Function: SetUserPassword");
    EXPECT_EQ(n.info, (std::vector<std::pair<String, String>>{{"request", "username=a{0}&x={1}"}, {"function", "SetUserPassword"}}));
}

} // namespace
