// GetUserManagementConfig and ModifyUserConfig of "UserManagementDp".
#include "UserAdministrationFixture.h"

namespace {

using namespace UsersTests;
using Kyr::System::Um::Services::UserPasswordState;
using Kyr::System::Um::Services::Internal::UserPasswordInfo;

UserPasswordInfo Info(const char* name, UserPasswordState state, std::uint64_t timeToExpire, bool initial) {
    UserPasswordInfo info;
    info.userName = name;
    info.passwordState = state;
    info.timeToExpire = timeToExpire;
    info.isUsingInitialPassword = initial;
    return info;
}

const String noPasswordInfo = R"({"passwordState":"Valid","userName":"","timeToExpire":0,"isUsingInitialPassword":false})";

String Listing(const String& adminInfo, const String& guestInfo) {
    return R"({"error":false,"errorText":"","result":{"usersConfig":[)"
           R"({"userName":"admin","hasAdminRuleset":true,"userRoles":["Admin","unauthenticated"],"passwordInfo":)" + adminInfo +
           R"(},{"userName":"guest","hasAdminRuleset":false,"userRoles":[],"passwordInfo":)" + guestInfo +
           R"(},{"userName":"Guest","hasAdminRuleset":false,"userRoles":[],"passwordInfo":)" + noPasswordInfo +
           R"(}],"allUserRoles":["Admin","Viewer"]}})";
}

TEST_F(UserAdministration, ListsUsersWithTheirPasswordInfoAndWithoutTheUnauthenticatedRole) {
    bool infosFilled = true;
    ON_CALL(users, GetUsers()).WillByDefault(Return(Roles{"admin", "guest", "Guest"}));
    ON_CALL(users, HasAdminRuleset(RscString<64>("admin"))).WillByDefault(Return(true));
    ON_CALL(users, GetUserRoles(RscString<64>("admin"))).WillByDefault(Return(Roles{"Unauthenticated", "Admin", "unauthenticated"}));
    ON_CALL(users, GetUserRoles(RscString<64>("guest"))).WillByDefault(Return(Roles{"Unauthenticated"}));
    ON_CALL(users, GetAllRoles()).WillByDefault(Return(Roles{"Admin", "Unauthenticated", "Viewer"}));
    ON_CALL(users, GetAllUsersPasswordInfo(_)).WillByDefault([&](std::vector<UserPasswordInfo>& infos) {
        // A name listed twice takes its first entry; names match byte for byte.
        infos = {Info("guest", UserPasswordState::Expired, 0, true), Info("admin", UserPasswordState::ExpiresSoon, 18446744073709551615u, false),
                 Info("guest", UserPasswordState::Locked, 1, false)};
        return infosFilled;
    });
    EXPECT_EQ(Call("GetUserManagementConfig"),
              Listing(R"({"passwordState":"ExpiresSoon","userName":"admin","timeToExpire":18446744073709551615,"isUsingInitialPassword":false})",
                      R"({"passwordState":"Expired","userName":"guest","timeToExpire":0,"isUsingInitialPassword":true})"));
    infosFilled = false; // then the password infos stay empty, and that is no error
    EXPECT_EQ(Call("GetUserManagementConfig"), Listing(noPasswordInfo, noPasswordInfo));
}

TEST_F(UserAdministration, ModifyRejectsMalformedItemsAndLogsWhy) {
    const std::pair<String, String> cases[] = {
        {"", "Invalid user config item root object!"},
        {"[{}]", "Invalid user config item root object!"},
        {R"({"userConfigItem":{}}x)", "Invalid user config item root object!"},
        {String(1 << 20, '['), "Invalid user config item root object!"}, // must not exhaust the stack
        {R"({"userConfigItem":[]})", "Invalid user config item object!"},
        {R"({"userConfigItem":{"hasAdminRuleset":true,"userRoles":[]}})",
         R"(Parse exception occured: Element "userName" in missing in root object "userConfigItem" )"},
        {R"({"userConfigItem":{"userName":"a","hasAdminRuleset":"true","userRoles":[]}})",
         R"(Parse exception occured: Element "hasAdminRuleset" in Object "userConfigItem" must have a bool data type  )"},
        {R"({"userConfigItem":{"userName":"a","hasAdminRuleset":true,"userRoles":[1]}})",
         R"(Parse exception occured: Element of Var "userRoles" in Object "userConfigItem" must have a string data type  )"},
    };
    for (const auto& [body, reason] : cases) {
        SCOPED_TRACE(body);
        EXPECT_EQ(Call("ModifyUserConfig", body), R"({"error":true,"errorText":"Invalid Request!","result":false})");
        EXPECT_EQ(calls, "");
        EXPECT_EQ(Notified(), "JSON-Object|ModifyUserConfig;"); // the expected form, not the body
        EXPECT_EQ(Logged(), "3:" + reason + ";3:Failed to modify user config. Invalid request!;");
    }
    EXPECT_EQ(log.GetLines().front().loggerName, "Kyr::Services::Modules::Wbm::Um::Internal::Config::UserConfigItem");
}

} // namespace
