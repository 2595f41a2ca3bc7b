#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/ScopedServices.h"
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Exceptions.h"

using Kyr::String;
using Kyr::Services::Commons::Wbm::Messages::RequestData;
using Kyr::Services::Commons::Wbm::Messages::RequestParams;
using Kyr::Services::Commons::Wbm::Messages::SecurityToken;
using Kyr::Services::Commons::Wbm::Messages::WbmRequest;
using Kyr::Services::Commons::Wbm::Messages::WbmResponse;
using Kyr::Services::Commons::Wbm::Modules::WbmPageHandlerBase;
using Kyr::Services::Commons::Wbm::Modules::WbmRequestHandlerBase;
using Kyr::Testing::ScopedServices;
using Kyr::Testing::ServiceKind;
using testing::_;
using testing::Return;

namespace {

class EchoHandler : public WbmRequestHandlerBase {
public:
    explicit EchoHandler(bool isConfigurationProvider) : WbmRequestHandlerBase(isConfigurationProvider) {
        Register("First", "one");
        Register("Second", "two");
        Register("First", "replaced");
    }

private:
    void Register(const String& name, const String& body) {
        RegisterHandlerDelegate(name, std::make_shared<RequestDelegate>([body](const WbmRequest&) { return WbmResponse({}, body); }));
    }
};

WbmRequest RequestFor(const String& functionName) { return WbmRequest(functionName, SecurityToken(), RequestData(), RequestParams()); }

MATCHER_P(RscTextIs, text, "") { return arg.ToString() == text; }

} // namespace

TEST(WbmRequestHandlerBaseTest, DispatchesByFunctionNameAndRefusesUnknownNames) {
    EchoHandler handler(false);
    EXPECT_EQ(handler.GetRequestFunctionNames(), (std::vector<String>{"First", "Second"}));
    EXPECT_EQ(handler.HandleRequest(RequestFor("First")).GetBody(), "replaced");
    EXPECT_EQ(handler.HandleRequest(RequestFor("Second")).GetBody(), "two");
    try {
        handler.HandleRequest(RequestFor("second"));
        FAIL() << "expected an exception";
    } catch (const Kyr::System::Commons::InvalidOperationException& error) {
        EXPECT_STREQ(error.what(), "Unknown request function 'second'");
    }
    EXPECT_TRUE(handler.IsAvailable());
}

TEST(WbmRequestHandlerBaseTest, DefaultPermissionRuleAsksTheAuthorizationService) {
    struct Case {
        const char* title;
        bool configuration;
        String session;
        bool serviceAnswer;
        bool expectAsked;
        bool permitted;
    };
    const Case cases[] = {
        {"configuration, session, granted", true, "s1", true, true, true},
        {"configuration, session, denied", true, "s1", false, true, false},
        {"configuration, anonymous: never", true, "", true, false, false},
        {"information, session, granted", false, "s1", true, true, true},
        {"information, anonymous, granted", false, "", true, true, true},
        {"information, anonymous, denied", false, "", false, true, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        ScopedServices services;
        const String object = c.configuration ? "kyr.services.wbm/configuration" : "kyr.services.wbm/information";
        if (c.expectAsked) {
            EXPECT_CALL(*services.authorization, HasPermission(RscTextIs(object), 4096u, _)).WillOnce(Return(c.serviceAnswer));
        } else {
            EXPECT_CALL(*services.authorization, HasPermission(_, _, _)).Times(0);
        }
        EchoHandler handler(c.configuration);
        EXPECT_EQ(handler.HasPermissions(SecurityToken(c.session)), c.permitted);
    }
}

TEST(WbmRequestHandlerBaseTest, WithoutAuthorizationServiceEverybodyIsRefused) {
    ScopedServices services(ServiceKind::Authorization);
    EXPECT_FALSE(EchoHandler(false).HasPermissions(SecurityToken("s1")));
    EXPECT_FALSE(EchoHandler(true).HasPermissions(SecurityToken("s1")));
}

TEST(WbmRequestHandlerBaseTest, ServiceOfTheWrongTypeIsAnInvalidCast) {
    ScopedServices services;
    services.Publish(ScopedServices::ServiceName(ServiceKind::Authorization), services.deviceControl);
    try {
        EchoHandler(false).HasPermissions(SecurityToken("s1"));
        FAIL() << "expected an exception";
    } catch (const Kyr::System::Commons::InvalidCastException& error) {
        EXPECT_STREQ(error.what(),
                     "The service does not implement service interface 'Kyr::System::Acf::Services::IAuthorizationService'.");
    }
}

TEST(WbmPageHandlerBaseTest, DefaultPageIsHiddenFromEverybody) {
    struct Open : WbmPageHandlerBase {
        bool HasPermissions(const SecurityToken& token) const override { return !token.IsAnonymous(); }
    };
    EXPECT_EQ(WbmPageHandlerBase().GetVisibilityAttribute(SecurityToken("s1")), "hidden");
    EXPECT_EQ(Open().GetVisibilityAttribute(SecurityToken("s1")), "visible");
    EXPECT_EQ(Open().GetVisibilityAttribute(SecurityToken()), "hidden");
}
