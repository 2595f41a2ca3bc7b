// The handlers' common base: which services make a handler available, which permission object each
// handler asks for, and the length limit of a permission object name.
#include <gmock/gmock.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "fakes/Thrown.h"
#include "handlers/LdapHandler.h"
#include "handlers/SystemUseNotificationHandler.h"
#include "handlers/UmHandler.h"
#include "handlers/UmInfoHandler.h"

namespace {

using Kyr::String;
using Kyr::System::Acf::SecurityToken;
using Kyr::Testing::ServiceKind;
namespace Internal = Kyr::Services::Modules::Wbm::Um::Internal;

// The four handlers after subscription, and the base's permission test reachable by name.
struct Handlers : Internal::UmWbmHandlerBase {
    Handlers() : UmWbmHandlerBase(true) {
        um.SubscribeServices();
        info.SubscribeServices();
        ldap.SubscribeServices();
        use.SubscribeServices();
        SubscribeBaseServices();
    }
    using UmWbmHandlerBase::HasPermissionOnObject;
    Internal::UmHandler um;
    Internal::UmInfoHandler info;
    Internal::LdapHandler ldap;
    Internal::SystemUseNotificationHandler use;
};

TEST(HandlerBase, AvailableOnlyWithAllOwnServices) {
    for (ServiceKind missing : {ServiceKind::UserManagement, ServiceKind::UserManagerConfiguration, ServiceKind::DeviceControl,
                                ServiceKind::Authorization, ServiceKind::TrustStore, ServiceKind::SystemUseNotification}) {
        Kyr::Testing::CapturingLogSink log;
        Kyr::Testing::ScopedServices services(missing);
        Handlers handlers;
        const bool baseComplete = missing == ServiceKind::SystemUseNotification;
        SCOPED_TRACE(Kyr::Testing::ScopedServices::ServiceName(missing));
        EXPECT_EQ(handlers.um.IsAvailable(), baseComplete);
        EXPECT_EQ(handlers.info.IsAvailable(), baseComplete);
        EXPECT_EQ(handlers.ldap.IsAvailable(), baseComplete);
        EXPECT_EQ(handlers.use.IsAvailable(), !baseComplete);
        EXPECT_EQ(log.Contains("Could not subscribe ISystemUseNotificationService!", 3), baseComplete);
    }
}

TEST(HandlerBase, PermissionObjectsUpTo511Characters) {
    Kyr::Testing::ScopedServices services;
    Handlers handlers;
    String asked;
    ON_CALL(*services.authorization, HasPermission(testing::_, testing::_, testing::_))
        .WillByDefault([&](const auto& object, std::uint32_t right, const SecurityToken& token) {
            asked += object.ToString() + "," + std::to_string(right) + "," + token.GetSessionId() + ";";
            return object.ToString().find("Config") == String::npos;
        });
    const SecurityToken token("s7");
    EXPECT_FALSE(handlers.um.HasPermissions(token));
    EXPECT_FALSE(handlers.ldap.HasPermissions(token));
    EXPECT_TRUE(handlers.info.HasPermissions(token));
    EXPECT_EQ(asked, "kyr.services.wbm/modules/Um/UserManagerConfig,4096,s7;kyr.services.wbm/modules/Um/UserManagerConfig,4096,s7;"
                     "kyr.services.wbm/modules/Um/UserManagerInfo,4096,s7;");

    const String longest(483, 'x');  // 28 characters of prefix: 511 in all
    EXPECT_TRUE(handlers.HasPermissionOnObject(token, longest));
    const auto error = Kyr::Testing::Thrown<Kyr::System::Commons::ArgumentException>([&] { handlers.HasPermissionOnObject(token, longest + "x"); });
    ASSERT_TRUE(error) << "accepted 512 characters";
    EXPECT_EQ(error->GetArgumentName() + ":" + error->GetMessage(), "arg:Input string is too long");
}

} // namespace
