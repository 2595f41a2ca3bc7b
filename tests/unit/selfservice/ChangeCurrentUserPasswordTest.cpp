// The own-password functions of "UserManagementInfoDp" against the service fakes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "handlers/UmInfoHandler.h"

namespace {

using namespace testing;
using Kyr::String;
using Kyr::Services::Commons::Wbm::Messages::RequestData;
using Kyr::Services::Commons::Wbm::Messages::RequestParams;
using Kyr::Services::Commons::Wbm::Messages::RequestQuery;
using Kyr::Services::Commons::Wbm::Messages::WbmRequest;
using Kyr::Services::Modules::Wbm::Um::Internal::UmInfoHandler;
using Kyr::System::Rsc::RscString;
using Kyr::System::Um::Services::UserPasswordState;
using Kyr::System::Um::Services::Internal::UserPasswordInfo;

WbmRequest Request(const String& function, const String& query) {
    return WbmRequest(function, Kyr::System::Acf::SecurityToken("session-1"), RequestData(),
                      RequestParams(RequestQuery(query)));
}

struct OwnPassword : Test {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services;
    UmInfoHandler handler;
    OwnPassword() { handler.SubscribeServices(); }

    void SessionOf(const char* user, bool alive = true) {
        ON_CALL(*services.userManagement, GetPasswordInfoBySecurityToken(_, _))
            .WillByDefault(Invoke([=](const auto&, UserPasswordInfo& info) {
                info.passwordState = UserPasswordState::Expired;
                info.timeToExpire = 42;
                info.userName = user;
                info.isUsingInitialPassword = true;
                return alive;
            }));
    }
    String Change(const String& query) { return handler.HandleRequest(Request("ChangeCurrentUserPassword", query)).GetBody(); }
};

TEST_F(OwnPassword, RefusalsAnswerTheirOwnTextAndLogTheReason) {
    struct Case { String query; bool alive; String errorText; String logged; };
    const std::vector<Case> cases = {
        // Parameters are checked before the session: a dead session still answers InvalidRequest.
        {"newPassword=a&confirmNewPassword=a", false, "InvalidRequest", "Invalid Request"},
        {"currentPassword=x&confirmNewPassword=a", true, "InvalidRequest", "Invalid Request"},
        {"currentPassword=x&newPassword=a", true, "InvalidRequest", "Invalid Request"},
        {"currentPassword=x&newPassword=a&confirmNewPassword=a", false, "Invalid Session", "Invalid Session"},
        {"currentPassword=x&newPassword=a&confirmNewPassword=A", true, "Passwords don't match!", "Passwords Mismatch!"},
        {"currentPassword=x&newPassword=a&confirmNewPassword=a%20", true, "Passwords don't match!", "Passwords Mismatch!"},
    };
    EXPECT_CALL(*services.userManagement, ChangeUserPassword(_, _, _)).Times(0);
    for (const Case& c : cases) {
        SessionOf("anna", c.alive);
        log.Clear();
        EXPECT_EQ(Change(c.query), R"({"error":true,"errorText":")" + c.errorText + R"(","result":false})") << c.query;
        EXPECT_TRUE(log.Contains("Failed to change password of current user. " + c.logged, 3)) << c.query;
    }
}

TEST_F(OwnPassword, ReachesTheServiceWithTheSessionUserAndDecodedPasswords) {
    struct Case { String query; String current; String next; };
    const std::vector<Case> cases = {
        {"currentPassword=old%26pw&newPassword=n+w&confirmNewPassword=n%20w", "old&pw", "n w"},
        {"currentPassword=&newPassword=&confirmNewPassword=", "", ""},  // empty equal passwords pass
        {"currentPassword=c&newPassword=" + String(127, 'p') + "&confirmNewPassword=" + String(127, 'p'), "c", String(127, 'p')},
    };
    SessionOf("anna");
    for (const Case& c : cases) {
        EXPECT_CALL(*services.userManagement,
                    ChangeUserPassword(RscString<64>("anna"), RscString<128>(c.current), RscString<128>(c.next)))
            .WillOnce(Return(true));
        EXPECT_EQ(Change(c.query), R"({"error":false,"errorText":"","result":true})");
    }
    EXPECT_FALSE(log.AnyTextContains("old&pw"));
}

TEST_F(OwnPassword, WrongCurrentPasswordAnswersTheServicesText) {
    SessionOf("anna");
    ON_CALL(*services.userManagement, ChangeUserPassword(_, _, _)).WillByDefault(Return(false));
    ON_CALL(*services.userManagement, GetLastErrorText()).WillByDefault(Return(RscString<128>("Current password is wrong")));
    EXPECT_EQ(Change("currentPassword=bad&newPassword=n&confirmNewPassword=n"),
              R"({"error":true,"errorText":"Current password is wrong","result":false})");
    EXPECT_TRUE(log.Contains("Failed to change password of current user. Invalid Credentials", 3));
}

TEST_F(OwnPassword, PasswordOf128BytesThrowsWithoutRevealingIt) {
    SessionOf("anna");
    const String longPassword(128, 'q');
    for (const String& query : {"currentPassword=" + longPassword + "&newPassword=n&confirmNewPassword=n",
                                "currentPassword=c&newPassword=" + longPassword + "&confirmNewPassword=" + longPassword}) {
        try {
            Change(query);
            ADD_FAILURE() << "no exception";
        } catch (const Kyr::System::Commons::ArgumentException& error) {
            EXPECT_EQ(error.GetMessage(), "Input string is too long");
            EXPECT_EQ(error.GetArgumentName(), "arg");
            EXPECT_EQ(String(error.what()).find(longPassword), String::npos);
        }
    }
}

TEST_F(OwnPassword, PasswordInfoOfTheCallerOrAnEmptyError) {
    SessionOf("anna");
    EXPECT_EQ(handler.HandleRequest(Request("GetPasswordInfo", "")).GetBody(),
              R"({"error":false,"errorText":"","result":{"passwordState":"Expired","userName":"anna","timeToExpire":42,"isUsingInitialPassword":true}})");
    SessionOf("anna", false);
    EXPECT_EQ(handler.HandleRequest(Request("GetPasswordInfo", "")).GetBody(), R"({"error":true,"errorText":"","result":null})");
    EXPECT_TRUE(log.GetLines().empty());
}

} // namespace
