#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ScopedServices.h"
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Exceptions.h"

using Kyr::String;
using namespace Kyr::Services::Commons::Wbm::Messages;
using namespace Kyr::Services::Commons::Wbm::Modules;
using Kyr::Testing::ScopedServices;
using Kyr::Testing::ServiceKind;
using testing::Return;

namespace {

class EchoHandler : public WbmRequestHandlerBase {
public:
    explicit EchoHandler(bool isConfigurationProvider) : WbmRequestHandlerBase(isConfigurationProvider) {
        for (const char* name : {"First", "Second", "First"}) {
            const String body = String(name) + std::to_string(GetRequestFunctionNames().size());
            RegisterHandlerDelegate(name, std::make_shared<RequestDelegate>([body](const WbmRequest&) { return WbmResponse({}, body); }));
        }
    }
};

String Call(WbmRequestHandlerBase& handler, const String& functionName) {
    return handler.HandleRequest(WbmRequest(functionName, SecurityToken(), RequestData(), RequestParams())).GetBody();
}

} // namespace

TEST(WbmRequestHandlerBaseTest, DispatchesByFunctionNameAndRefusesUnknownNames) {
    EchoHandler handler(false);
    EXPECT_EQ(handler.GetRequestFunctionNames(), (std::vector<String>{"First", "Second"}));
    EXPECT_EQ(Call(handler, "First") + Call(handler, "Second"), "First2Second1") << "a second registration replaces the first";
    EXPECT_THROW(Call(handler, "second"), Kyr::System::Commons::InvalidOperationException);
}

TEST(WbmRequestHandlerBaseTest, DefaultPermissionRuleAsksTheAuthorizationService) {
    struct Case {
        const char* title;
        bool configuration;
        String session;
        bool published;
        int serviceAnswer; // -1: must not be asked
        bool permitted;
    };
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
        EXPECT_EQ(EchoHandler(c.configuration).HasPermissions(SecurityToken(c.session)), c.permitted);
    }
}

TEST(WbmRequestHandlerBaseTest, ServiceOfTheWrongTypeIsAnInvalidCast) {
    ScopedServices services;
    services.Publish(ScopedServices::ServiceName(ServiceKind::Authorization), services.deviceControl);
    try {
        EchoHandler(false).HasPermissions(SecurityToken("s1"));
        FAIL() << "expected an exception";
    } catch (const Kyr::System::Commons::InvalidCastException& error) {
        EXPECT_STREQ(error.what(), "The service does not implement service interface 'Kyr::System::Acf::Services::IAuthorizationService'.");
    }
}

TEST(WbmPageHandlerBaseTest, DefaultPageIsHiddenFromEverybody) {
    EXPECT_FALSE(WbmPageHandlerBase().HasPermissions(SecurityToken("s1")));
    EXPECT_EQ(WbmPageHandlerBase().GetVisibilityAttribute(SecurityToken("s1")), "hidden");
}
