#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ScopedServices.h"
#include "fakes/Thrown.h"
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Exceptions.h"

using Kyr::String;
using namespace Kyr::Services::Commons::Wbm::Messages;
using namespace Kyr::Services::Commons::Wbm::Modules;
using Kyr::Testing::ScopedServices;
using Kyr::Testing::ServiceKind;
using testing::Return;

TEST(WbmRequestHandlerBaseTest, DispatchesByTheExactFunctionName) {
    struct Handler : WbmRequestHandlerBase {
        Handler() : WbmRequestHandlerBase(false) {
            RegisterHandlerDelegate("First", std::make_shared<RequestDelegate>([](const WbmRequest&) { return WbmResponse({}, "one"); }));
        }
    } handler;
    const auto call = [&](const String& name) { return handler.HandleRequest(WbmRequest(name, {}, {}, {})).GetBody(); };
    EXPECT_EQ(call("First"), "one");
    EXPECT_TRUE(handler.HasRequestFunction("First"));
    EXPECT_FALSE(handler.HasRequestFunction("first"));
    EXPECT_THROW(call("first"), Kyr::System::Commons::InvalidOperationException);
}

TEST(WbmRequestHandlerBaseTest, DefaultPermissionRuleAsksTheAuthorizationService) {
    // serviceAnswer -1: the service must not be asked.
    struct Case { const char* title; bool configuration; String session; bool published; int serviceAnswer; bool permitted; };
    const Case cases[] = {
        {"configuration, session, granted", true, "s1", true, 1, true},
        {"configuration, session, denied", true, "s1", true, 0, false},
        {"configuration, anonymous: never", true, "", true, -1, false},
        {"information, anonymous, granted", false, "", true, 1, true},
        {"information, anonymous, denied", false, "", true, 0, false},
        {"no authorization service", false, "s1", false, -1, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        ScopedServices services;
        if (!c.published) services.Withdraw(ServiceKind::Authorization);
        const String object = c.configuration ? "kyr.services.wbm/configuration" : "kyr.services.wbm/information";
        auto& asked = EXPECT_CALL(*services.authorization, HasPermission(testing::Property(&Kyr::System::Rsc::RscString<512>::ToString, object),
                                                                         4096u, testing::Property(&SecurityToken::GetSessionId, c.session)));
        if (c.serviceAnswer < 0) asked.Times(0);
        else asked.WillOnce(Return(c.serviceAnswer == 1));
        EXPECT_EQ(WbmRequestHandlerBase(c.configuration).HasPermissions(SecurityToken(c.session)), c.permitted);
    }
}

TEST(WbmRequestHandlerBaseTest, ServiceOfTheWrongTypeIsAnInvalidCast) {
    ScopedServices services;
    services.Publish(ScopedServices::ServiceName(ServiceKind::Authorization), services.deviceControl);
    const auto error = Kyr::Testing::Thrown<Kyr::System::Commons::InvalidCastException>(
        [] { WbmRequestHandlerBase(false).HasPermissions(SecurityToken("s1")); });
    ASSERT_TRUE(error);
    EXPECT_STREQ(error->what(), "The service does not implement service interface 'Kyr::System::Acf::Services::IAuthorizationService'.");
}
