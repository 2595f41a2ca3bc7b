// The own-password functions of "UserManagementInfoDp" against the service fakes.
#include <gmock/gmock.h>

#include "fakes/CapturingLogSink.h"
#include "fakes/ScopedServices.h"
#include "fakes/Thrown.h"
#include "handlers/UmInfoHandler.h"

namespace {

using namespace testing;
using namespace Kyr::Services::Commons::Wbm::Messages;
using Kyr::String;
using Kyr::System::Rsc::RscString;
using Kyr::System::Um::Services::Internal::UserPasswordInfo;

struct OwnPassword : Test {
    Kyr::Testing::CapturingLogSink log;
    Kyr::Testing::ScopedServices services;
    Kyr::Services::Modules::Wbm::Um::Internal::UmInfoHandler handler;
    OwnPassword() { handler.SubscribeServices(); }

    void Session(bool alive) {
        ON_CALL(*services.userManagement, GetPasswordInfoBySecurityToken(_, _))
            .WillByDefault(Invoke([=](const auto&, UserPasswordInfo& info) {
                info.passwordState = Kyr::System::Um::Services::UserPasswordState::Expired;
                info.timeToExpire = 42;
                info.userName = "anna";
                info.isUsingInitialPassword = true;
                return alive;
            }));
    }
    String Call(const String& function, const String& query = "") {
        const WbmRequest request(function, SecurityToken("s1"), RequestData(), RequestParams(RequestQuery(query)));
        return handler.HandleRequest(request).GetBody();
    }
};

TEST_F(OwnPassword, RefusalsAnswerTheirOwnTextAndLogTheReason) {
    const String p128(128, 'q');
    struct Case { String query; bool alive; String errorText; String logged; };
    const std::vector<Case> cases = {
        // Parameters come before the session: a dead session still answers InvalidRequest.
        {"newPassword=a&confirmNewPassword=a", false, "InvalidRequest", "Invalid Request"},
        {"currentPassword=x&confirmNewPassword=a", true, "InvalidRequest", "Invalid Request"},
        {"currentPassword=x&newPassword=a", true, "InvalidRequest", "Invalid Request"},
        // The session before the confirmation; the current password's length only once both passed.
        {"currentPassword=" + p128 + "&newPassword=a&confirmNewPassword=b", false, "Invalid Session", "Invalid Session"},
        {"currentPassword=" + p128 + "&newPassword=a&confirmNewPassword=a%20", true, "Passwords don't match!", "Passwords Mismatch!"},
    };
    EXPECT_CALL(*services.userManagement, ChangeUserPassword(_, _, _)).Times(0);
    for (const Case& c : cases) {
        log.Clear();
        Session(c.alive);
        EXPECT_EQ(Call("ChangeCurrentUserPassword", c.query), R"({"error":true,"errorText":")" + c.errorText + R"(","result":false})");
        EXPECT_TRUE(log.Contains("Failed to change password of current user. " + c.logged, 3)) << c.query;
    }
}

TEST_F(OwnPassword, ServiceGetsTheSessionUserAndDecodedPasswords) {
    const String p127(127, 'p');
    const String ok = R"({"error":false,"errorText":"","result":true})";
    const std::vector<std::tuple<String, String, String, bool, String>> cases = {
        {"currentPassword=o%26ld&newPassword=n+w&confirmNewPassword=n%20w", "o&ld", "n w", true, ok},
        {"currentPassword=&newPassword=&confirmNewPassword=", "", "", true, ok},
        {"currentPassword=c&newPassword=" + p127 + "&confirmNewPassword=" + p127, "c", p127, true, ok},
        // A wrong current password answers the service's own text.
        {"currentPassword=bad&newPassword=n&confirmNewPassword=n", "bad", "n", false,
         R"({"error":true,"errorText":"Current password is wrong","result":false})"},
    };
    Session(true);
    ON_CALL(*services.userManagement, GetLastErrorText()).WillByDefault(Return(RscString<128>("Current password is wrong")));
    for (const auto& [query, current, next, accepted, answer] : cases) {
        EXPECT_CALL(*services.userManagement, ChangeUserPassword(RscString<64>("anna"), RscString<128>(current), RscString<128>(next)))
            .WillOnce(Return(accepted));
        EXPECT_EQ(Call("ChangeCurrentUserPassword", query), answer);
    }
    EXPECT_TRUE(log.Contains("Failed to change password of current user. Invalid Credentials", 3));
    EXPECT_FALSE(log.Contains("o&ld"));
}

TEST_F(OwnPassword, PasswordOf128BytesThrowsWithoutCarryingIt) {
    Session(true);
    const String p128(128, 'q');
    for (const String& query : {"currentPassword=" + p128 + "&newPassword=n&confirmNewPassword=n",
                                "currentPassword=c&newPassword=" + p128 + "&confirmNewPassword=" + p128}) {
        const auto error = Kyr::Testing::Thrown<Kyr::System::Commons::ArgumentException>([&] { Call("ChangeCurrentUserPassword", query); });
        ASSERT_TRUE(error) << query;
        EXPECT_EQ(error->GetArgumentName() + ":" + error->GetMessage(), "arg:Input string is too long");
        EXPECT_EQ(error->GetValue().find(p128), String::npos);  // a password never travels in an exception
    }
}

TEST_F(OwnPassword, PasswordInfoOfTheCallerOrAnErrorWithoutText) {
    Session(true);
    EXPECT_EQ(Call("GetPasswordInfo"), R"({"error":false,"errorText":"","result":{"passwordState":"Expired",)"
                                       R"("userName":"anna","timeToExpire":42,"isUsingInitialPassword":true}})");
    Session(false);
    EXPECT_EQ(Call("GetPasswordInfo"), R"({"error":true,"errorText":"","result":null})");
}

} // namespace
