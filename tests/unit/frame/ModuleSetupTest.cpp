// SetupModule and ResetModule of the module "Um", made through the loaded library as a host does,
// against a recording host: orders, refusals with their messages, and what a reset withdraws; and
// the invalid-request notification sender that set-up creates and reset destroys.
#include <gtest/gtest.h>

#include <stdexcept>

#include "FrameSupport.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/CapturingNotifications.h"
#include "fakes/RecordingModuleHandler.h"
#include "fakes/ScopedServices.h"
#include "fakes/Thrown.h"
#include "module/UmWbmModule.h"
#include "notifications/SecurityNotifications.h"

namespace {

using Kyr::String;
using Kyr::Services::Commons::Wbm::Modules::ModuleInfo;
using Kyr::Services::Modules::Wbm::Um::Internal::SecurityNotifications;
using Kyr::System::Commons::Singleton;
using Kyr::System::Nm::NotificationManager;
using Kyr::Testing::RecordingModuleHandler;
using Kyr::Testing::Thrown;
using Calls = std::vector<String>;
using FrameTests::SettingsFile;

const String notificationName = "Security.Kyr.Services.Wbm.Um.InvalidRequest";
const Calls registrations = {
    "RegisterDataProvider:UserManagementInfoDp", "RegisterDataProvider:UserManagementDp",
    "RegisterDataProvider:LdapDp",               "RegisterDataProvider:SystemUseNotificationDp",
    "RegisterPage:UserManager",                  "RegisterPage:LdapConfiguration",
};
const Calls withdrawals = {
    "UnregisterDataProvider:UserManagementDp", "UnregisterDataProvider:UserManagementInfoDp",
    "UnregisterDataProvider:LdapDp",           "UnregisterDataProvider:SystemUseNotificationDp",
    "UnregisterPage:UserManager",              "UnregisterPage:LdapConfiguration",
};

Calls Slice(const Calls& calls, std::size_t from, std::size_t to = ~std::size_t{0}) {
    return Calls(calls.begin() + std::min(from, calls.size()), calls.begin() + std::min(to, calls.size()));
}

Calls operator+(Calls first, const Calls& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

struct ModuleSetup : testing::Test {
    Kyr::Testing::CapturingNotifications notifications;
    Kyr::Testing::ScopedServices services;
    RecordingModuleHandler host;
    SettingsFile settings{R"(<UmWbmModuleSettings supportedLanguages="en" ldapEnabled="false"/>)"};
    std::unique_ptr<Kyr::Services::Commons::Wbm::Modules::IWbmModule> module =
        FrameTests::LoadedModuleLibrary::Get().factory->CreateModule("Um");
};

TEST_F(ModuleSetup, RegistersInOrderAndResetWithdrawsInItsOwnOrder) {
    module->ResetModule(host);  // before any set-up: nothing to withdraw
    EXPECT_TRUE(host.GetCalls().empty());

    module->SetupModule(ModuleInfo(settings.path, {{"k", "v"}}), host);
    EXPECT_EQ(host.GetCalls(), registrations + Calls{"RegisterModuleInfoEntry:k"});
    // LDAP switched off in the settings leaves its provider and page registered but unavailable: the
    // host's 503 for both is checked in PermissionsTest.cpp (UnavailableProviderTest).

    SecurityNotifications* const sender = Singleton<SecurityNotifications>::TryGetInstance();
    Kyr::Services::Modules::Wbm::Um::UmWbmModule().Init(settings.path);
    EXPECT_TRUE(sender && Singleton<SecurityNotifications>::TryGetInstance() == sender) << "a later Init keeps the sender";

    module->ResetModule(host);
    EXPECT_EQ(Slice(host.GetCalls(), 7), withdrawals + Calls{"UnregisterModuleInfoEntry:k"});
    EXPECT_FALSE(notifications.GetManager().IsRegistered(notificationName));
    const auto error = Thrown<Kyr::Exception>([] { Singleton<SecurityNotifications>::GetInstance().SendUserManagerInvalidRequest("x", "AddUser"); });
    ASSERT_TRUE(error) << "the notification sender outlived the reset";
    EXPECT_EQ(error->GetMessage(), "Singleton instance of type 'Kyr::Services::Modules::Wbm::Um::Internal::SecurityNotifications' was not created yet!");
}

TEST_F(ModuleSetup, RefusalStopsThereAndResetWithdrawsExactlyWhatWasRegistered) {
    // accepted: the registrations accepted before the refusal.
    struct Case { String refused; String message; std::size_t accepted; Calls withdrawn; };
    const String provider = "Failed to register data provider: ";
    const std::vector<Case> cases = {
        {"UserManagementInfoDp", provider + "UserManagementInfoDp", 0, {}},
        {"UserManagementDp", provider + "UserManagementDp", 1, {withdrawals[1]}},
        {"LdapDp", provider + "UserManagementDp", 2, Slice(withdrawals, 0, 2)},  // names the step before
        {"SystemUseNotificationDp", provider + "SystemUseNotificationDp", 3, Slice(withdrawals, 0, 3)},
        {"UserManager", "Failed to register page: UserManager", 4, Slice(withdrawals, 0, 4)},
        {"LdapConfiguration", "Failed to register page: UserManager", 5, Slice(withdrawals, 0, 5)},  // the step before
    };
    for (const auto& c : cases) {
        RecordingModuleHandler refusing;
        refusing.RefuseRegistration(c.refused);
        const auto error = Thrown<Kyr::System::Commons::InvalidOperationException>([&] { module->SetupModule(ModuleInfo(settings.path, {}), refusing); });
        EXPECT_EQ(error ? error->GetMessage() : "(no exception)", c.message) << c.refused;
        EXPECT_EQ(refusing.GetCalls(), Slice(registrations, 0, c.accepted + 1)) << c.refused;
        module->ResetModule(refusing);
        EXPECT_EQ(Slice(refusing.GetCalls(), c.accepted + 1), c.withdrawn) << c.refused;
    }
}

TEST(SecurityNotifications, CarriesRequestAndFunctionVerbatimAndOnlyLogsAFailedUnregistration) {
    struct RefusingManager : NotificationManager {
        void UnregisterNotification(Kyr::System::Nm::NotificationNameId) override { throw std::runtime_error("busy"); }
    } manager;
    Singleton<NotificationManager>::SetInstance(manager);
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::CapturingNotifications captured;
    SecurityNotifications().SendUserManagerInvalidRequest("username=a{0}&x={1}", "SetUserPassword");  // data, not placeholders
    Singleton<NotificationManager>::DestroyInstance();

    const auto notifications = captured.GetNotifications();
    ASSERT_EQ(notifications.size(), 1u);
    const auto& n = notifications.front();
    EXPECT_EQ(n.name + "|" + n.senderName + "|" + std::to_string(static_cast<int>(n.severity)), notificationName + "|WBM|3");
    EXPECT_EQ(n.message, "Invalid Request. Request: username=a{0}&x={1}, Function: SetUserPassword");
    EXPECT_EQ(n.info, (std::vector<std::pair<String, String>>{{"request", "username=a{0}&x={1}"}, {"function", "SetUserPassword"}}));
    ASSERT_EQ(log.GetLines().size(), 1u);
    EXPECT_EQ(std::to_string(log.GetLines()[0].level) + ":" + log.GetLines()[0].text,
              "3:Caught exception while unregistering notificationName=" + notificationName + ": busy");
}

} // namespace
