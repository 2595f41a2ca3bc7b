// The handlers' common base: which services make a handler available, which permission object each
// handler asks for, and the length limit of a permission object name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "handlers/LdapHandler.h"
#include "handlers/SystemUseNotificationHandler.h"
#include "handlers/UmHandler.h"
#include "handlers/UmInfoHandler.h"

namespace {

using Kyr::String;
using Kyr::System::Acf::SecurityToken;
using Kyr::System::Rsc::RscString;
using Kyr::Testing::ServiceKind;
using testing::_;
using testing::Property;
using testing::Return;
namespace Internal = Kyr::Services::Modules::Wbm::Um::Internal;

struct Handlers {
    Handlers() {
        um.SubscribeServices();
        info.SubscribeServices();
        ldap.SubscribeServices();
        systemUseNotification.SubscribeServices();
    }
    Internal::UmHandler um;
    Internal::UmInfoHandler info;
    Internal::LdapHandler ldap;
    Internal::SystemUseNotificationHandler systemUseNotification;
};

TEST(HandlerBase, AvailableOnlyWithAllOwnServices) {
    for (ServiceKind missing : {ServiceKind::UserManagement, ServiceKind::UserManagerConfiguration, ServiceKind::DeviceControl,
                                ServiceKind::Authorization, ServiceKind::TrustStore, ServiceKind::SystemUseNotification}) {
        Kyr::Testing::CapturingLogSink log;
        Kyr::Testing::ScopedServices services(missing);
        Handlers handlers;
        const bool baseComplete = missing == ServiceKind::SystemUseNotification;
        const char* name = Kyr::Testing::ScopedServices::ServiceName(missing);
        EXPECT_EQ(handlers.um.IsAvailable(), baseComplete) << name;
        EXPECT_EQ(handlers.info.IsAvailable(), baseComplete) << name;
        EXPECT_EQ(handlers.ldap.IsAvailable(), baseComplete) << name;
        EXPECT_EQ(handlers.systemUseNotification.IsAvailable(), !baseComplete) << name;
        EXPECT_EQ(log.Contains("Could not subscribe ISystemUseNotificationService!", 3), baseComplete) << name;
    }
}

TEST(HandlerBase, EachHandlerAsksForItsPermissionObject) {
    Kyr::Testing::ScopedServices services;
    Handlers handlers;
    const SecurityToken token("session-7");
    const auto expectAsked = [&](const char* object, bool answer) {
        EXPECT_CALL(*services.authorization, HasPermission(Property(&RscString<512>::ToString, String(object)), 4096u,
                                                           Property(&SecurityToken::GetSessionId, "session-7")))
            .WillOnce(Return(answer));
    };
    expectAsked("kyr.services.wbm/modules/Um/UserManagerConfig", true);
    EXPECT_TRUE(handlers.um.HasPermissions(token));
    expectAsked("kyr.services.wbm/modules/Um/UserManagerConfig", false);
    EXPECT_FALSE(handlers.ldap.HasPermissions(token));
    expectAsked("kyr.services.wbm/modules/Um/UserManagerInfo", true);
    EXPECT_TRUE(handlers.info.HasPermissions(token));
}

class PermissionProbe : public Internal::UmWbmHandlerBase {
public:
    PermissionProbe() : UmWbmHandlerBase(true) { SubscribeBaseServices(); }
    using UmWbmHandlerBase::HasPermissionOnObject;
};

TEST(HandlerBase, PermissionObjectNameUpTo511Characters) {
    Kyr::Testing::ScopedServices services;
    PermissionProbe probe;
    const String longest(483, 'x');  // 28 characters of prefix: 511 in all
    EXPECT_CALL(*services.authorization, HasPermission(Property(&RscString<512>::GetLength, 511u), _, _)).WillOnce(Return(true));
    EXPECT_TRUE(probe.HasPermissionOnObject(SecurityToken("s"), longest));
    try {
        probe.HasPermissionOnObject(SecurityToken("s"), longest + "x");
        ADD_FAILURE() << "accepted 512 characters";
    } catch (const Kyr::System::Commons::ArgumentException& error) {
        EXPECT_EQ(error.GetArgumentName(), "arg");
        EXPECT_EQ(error.GetMessage(), "Input string is too long");
    }
}

} // namespace
