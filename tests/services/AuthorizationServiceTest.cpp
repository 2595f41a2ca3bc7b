#include "ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

using Kyr::System::Acf::SecurityToken;

constexpr const char* ConfigObject = "kyr.services.wbm/modules/Um/UserManagerConfig";
constexpr const char* InfoObject = "kyr.services.wbm/modules/Um/UserManagerInfo";
constexpr const char* InformationObject = "kyr.services.wbm/information";
constexpr const char* OperationObject = "kyr.services.wbm/operation";
constexpr std::uint32_t Right = 4096;

struct Permissions : ServicesTest {
    Permissions() {
        EXPECT_TRUE(Users()->AddUser("olga", "Tulip-pass-1"));
        EXPECT_TRUE(Users()->SetUserRoles("olga", {"Operator"}));
        EXPECT_TRUE(Users()->AddUser("nora", "Tulip-pass-1"));
        sessions.sessions = {{"admin-session", "admin"}, {"operator-session", "olga"}, {"plain-session", "nora"}};
    }
    bool Allowed(const char* object, const char* session) {
        return Authorization()->HasPermission(object, Right, session ? SecurityToken(session) : SecurityToken());
    }
};

TEST_F(Permissions, DecisionsByRole) {
    struct Case { const char* object; const char* session; bool allowed; };
    const Case cases[] = {
        {ConfigObject, "admin-session", true},
        {"any/object/at/all", "admin-session", true},
        {ConfigObject, "operator-session", false},
        {InfoObject, "operator-session", true},
        {InformationObject, "plain-session", true},
        {OperationObject, "operator-session", true}, // granted to "Operator" in the role table
        {OperationObject, "plain-session", false},
        {InfoObject, "plain-session", true},
        {InfoObject, nullptr, false},                // no session, authentication required
        {InfoObject, "ended-session", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Allowed(c.object, c.session), c.allowed) << c.object << " / " << (c.session ? c.session : "none");
    // The session of a removed user holds nothing.
    ASSERT_TRUE(Users()->RemoveUser("nora"));
    EXPECT_FALSE(Allowed(InfoObject, "plain-session"));
}

} // namespace
} // namespace Kyr::Testing
