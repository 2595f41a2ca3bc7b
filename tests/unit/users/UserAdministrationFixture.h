#pragma once
// A UmHandler whose changing service calls are recorded as text ("AddUser(a,pw)"); log and
// notifications are cleared before each request.
#include "Kyr/System/Commons/Exceptions.h"
#include "fakes/Thrown.h"
#include "unit/UmHandlerFixture.h"

namespace UsersTests {

using namespace testing;
using Kyr::String;
using Kyr::System::Rsc::RscString;
using Roles = std::vector<RscString<64>>;

constexpr const char* ok = R"({"error":false,"errorText":"","result":null})";
constexpr const char* invalid = R"({"error":true,"errorText":"Invalid Request!","result":null})";
constexpr const char* tooLong = "arg:Input string is too long";

struct UserAdministration : Kyr::Testing::UmHandlerFixture {
    NiceMock<Kyr::Testing::MockUserManagementService>& users = *services.userManagement;
    String calls;   // the service calls of the last request
    bool accept = true; // what the recorded calls answer

    UserAdministration() {
        auto record = [this](String call) { calls += call; return accept; };
        ON_CALL(users, AddUser(_, _)).WillByDefault([=](auto& n, auto& p) { return record("AddUser(" + n.ToString() + "," + p.ToString() + ")"); });
        ON_CALL(users, RemoveUser(_)).WillByDefault([=](auto& n) { return record("RemoveUser(" + n.ToString() + ")"); });
        ON_CALL(users, SetUserPassword(_, _)).WillByDefault([=](auto& n, auto& p) { return record("SetUserPassword(" + n.ToString() + "," + p.ToString() + ")"); });
        ON_CALL(users, SetAuthenticationRequired(_)).WillByDefault([=](bool on) { return record(on ? "Required(true)" : "Required(false)"); });
        ON_CALL(users, SetAdminRuleset(_, _)).WillByDefault([=](auto& n, bool on) { return record("SetAdminRuleset(" + n.ToString() + (on ? ",true)" : ",false)")); });
        ON_CALL(users, SetUserRoles(_, _)).WillByDefault([=](auto& n, const Roles& roles) {
            String text = "SetUserRoles(" + n.ToString();
            for (const auto& role : roles) text += "," + role.ToString();
            return record(text + ")");
        });
    }

    // The answer's body, or tooLong when the function let that argument error escape.
    String Call(const String& function, const String& body = String()) {
        calls.clear();
        log.Clear();
        notifications.Clear();
        String answer;
        const auto error = Kyr::Testing::Thrown<Kyr::System::Commons::ArgumentException>([&] {
            answer = handler.HandleRequest({function, Kyr::System::Acf::SecurityToken("s1"), Kyr::Services::Commons::Wbm::Messages::RequestData(body), {}})
                         .GetBody();
        });
        return error ? error->GetArgumentName() + ":" + error->GetMessage() : answer;
    }
    // "level:text" of each log line of the last request.
    String Logged() const {
        String text;
        for (const auto& line : log.GetLines()) text += std::to_string(line.level) + ":" + line.text + ";";
        return text;
    }
};

} // namespace UsersTests
