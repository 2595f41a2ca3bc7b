// The JSON bodies of the directory routes: what the page reads, and the request it sends.
#include <gtest/gtest.h>

#include "ldap/DirectoryBodies.h"

namespace Kyr::Testing {
namespace {

using namespace Kyr::WbmHost;
namespace Ps = Kyr::PlatformServices;

TEST(DirectoryBodies, StatusHasNoTimeBeforeTheFirstAttempt) {
    Ps::DirectoryStatus status;
    EXPECT_EQ(DirectoryStatusBody(status),
              R"({"enabled":false,"attempted":false,"reached":false,"lastAttempt":null,"server":"","lastError":""})");
    status = {true, true, false, 1'800'000'000, "ldaps://a", "ldaps://a: cannot reach the server: \"x\""};
    EXPECT_EQ(DirectoryStatusBody(status),
              R"({"enabled":true,"attempted":true,"reached":false,"lastAttempt":1800000000,"server":"ldaps://a",)"
              R"("lastError":"ldaps://a: cannot reach the server: \"x\""})");
}

TEST(DirectoryBodies, TestNamesTheFirstFailedStep) {
    Ps::DirectoryTestResult result;
    result.server = "ldap://b";
    result.steps = {{"connect", true, "ldap://b answered"}, {"tls", false, "StartTLS failed"}};
    EXPECT_EQ(DirectoryTestBody(result),
              R"({"succeeded":false,"server":"ldap://b","failedStep":"tls","steps":[)"
              R"({"step":"connect","succeeded":true,"detail":"ldap://b answered"},)"
              R"({"step":"tls","succeeded":false,"detail":"StartTLS failed"}]})");
    result.succeeded = true;
    result.steps.pop_back();
    EXPECT_NE(DirectoryTestBody(result).find(R"("failedStep":null)"), std::string::npos);
}

TEST(DirectoryBodies, TestRequests) {
    struct Case { const char* body; bool valid; const char* userName; const char* password; };
    const Case cases[] = {
        {"", true, nullptr, nullptr},
        {" {} ", true, nullptr, nullptr},
        {R"({"username":"alice","password":"p w"})", true, "alice", "p w"},
        {R"({"username":"alice"})", true, "alice", nullptr},
        {R"({"username":"","password":"ignored"})", true, nullptr, nullptr},
        {R"({"username":null,"password":null})", true, nullptr, nullptr},
        {R"({"username":7})", false, nullptr, nullptr},
        {R"({"username":"a","password":["p"]})", false, nullptr, nullptr},
        {R"(["alice","p"])", false, nullptr, nullptr},
        {"username=alice&password=p", false, nullptr, nullptr},
        {R"({"username":"a")", false, nullptr, nullptr},
    };
    for (const Case& c : cases) {
        auto request = ParseDirectoryTestBody(c.body);
        ASSERT_EQ(request.has_value(), c.valid) << c.body;
        if (!request) continue;
        EXPECT_EQ(request->userName.value_or("<none>"), c.userName ? c.userName : "<none>") << c.body;
        EXPECT_EQ(request->password.value_or("<none>"), c.password ? c.password : "<none>") << c.body;
    }
}

} // namespace
} // namespace Kyr::Testing
