// The second factor's routes through the real host: enrolment, the two-step login with codes and
// recovery codes, the waits after wrong codes, the policy that forces enrolment, and an
// administrator's reset. The test computes the codes from the secret like an authenticator app. The
// codes' own rules (drift, replays, recovery codes once) are the services' tests.
#include "HostTest.h"
#include "TotpCode.h"

namespace Kyr::IntegrationTests {
namespace {

const std::string loginFailed = "Login failed: wrong user name or password, or too many failed attempts.";

// A JSON object of string members.
std::string JsonBody(std::initializer_list<std::pair<const char*, std::string>> members) {
    rapidjson::Document body(rapidjson::kObjectType);
    for (const auto& [name, value] : members)
        body.AddMember(rapidjson::StringRef(name), rapidjson::Value(value.c_str(), body.GetAllocator()), body.GetAllocator());
    return ToJson(body);
}

struct SecondFactorTest : HostTest {
    // Sets up a second factor for the client's user; answers the secret, and the recovery codes in `codes`.
    std::string Enrol(WebClient& client, std::vector<std::string>* codes = nullptr) {
        Answer started = client.Post("/api/second-factor/enrolment", "");
        EXPECT_EQ(started.status, 200) << started.body;
        const std::string secret = started.Json()["secret"].GetString();
        Answer confirmed = client.Post("/api/second-factor/enrolment/confirm", JsonBody({{"code", TotpCode(secret)}}));
        EXPECT_EQ(confirmed.status, 200) << confirmed.body;
        const auto json = confirmed.Json();
        if (codes && json.HasMember("recoveryCodes"))
            for (const auto& code : json["recoveryCodes"].GetArray()) codes->push_back(code.GetString());
        return secret;
    }

    // The password step, which must answer with a challenge.
    std::string Challenge(WebClient& client, const std::string& user, const std::string& password) {
        Answer answer = client.Login(user, password);
        EXPECT_EQ(answer.status, 200) << answer.body;
        EXPECT_EQ(answer.Header("Set-Cookie"), "");
        auto json = answer.Json();
        EXPECT_TRUE(json.HasMember("secondFactorRequired") && json["secondFactorRequired"] == true) << answer.body;
        EXPECT_EQ(json["expiresInSeconds"], 300);
        return json.HasMember("challenge") ? json["challenge"].GetString() : "";
    }

    // The code step: `field` "code" or "recoveryCode". On success the client holds the new session.
    Answer SecondStep(WebClient& client, const std::string& challenge, const char* field, const std::string& value) {
        Answer answer = client.Send("POST", "/api/login/second-factor", JsonBody({{"challenge", challenge}, {field, value}}),
                                    {{"Content-Type", "application/json"}});
        client.KeepSession(answer);
        return answer;
    }
};

TEST_F(SecondFactorTest, EnrolmentThenLoginsWithCodesAndRecoveryCodes) {
    WebClient admin = Admin();
    SetSessionPolicy(admin, 0, 0, 0, 5, true); // a wrong code makes nobody wait
    EXPECT_EQ(admin.Get("/api/second-factor").body, R"({"enrolled":false,"required":false,"policy":"off","recoveryCodesLeft":0})");

    Answer started = admin.Post("/api/second-factor/enrolment", "");
    ASSERT_EQ(started.status, 200) << started.body;
    const std::string secret = started.Json()["secret"].GetString();
    EXPECT_EQ(std::string(started.Json()["otpauthUri"].GetString()).rfind("otpauth://totp/", 0), 0u);
    EXPECT_EQ(std::string(started.Json()["qrCodeSvg"].GetString()).rfind("<svg ", 0), 0u);

    // Not taken into use before a right code; a wrong one leaves the pending secret as it was.
    Answer wrong = admin.Post("/api/second-factor/enrolment/confirm", JsonBody({{"code", TotpCode(secret, 3)}}));
    EXPECT_EQ(wrong.status, 400);
    EXPECT_EQ(wrong.Json()["errorText"], "The code is not valid");
    const std::string confirm = JsonBody({{"code", TotpCode(secret)}});
    Answer confirmed = admin.Post("/api/second-factor/enrolment/confirm", confirm);
    ASSERT_EQ(confirmed.status, 200) << confirmed.body;
    const auto confirmedJson = confirmed.Json();
    ASSERT_EQ(confirmedJson["recoveryCodes"].Size(), 10u);
    const std::string recoveryCode = confirmedJson["recoveryCodes"][4].GetString();
    EXPECT_EQ(admin.Post("/api/second-factor/enrolment", "").status, 409);
    EXPECT_EQ(admin.Post("/api/second-factor/enrolment/confirm", confirm).status, 409);

    // The password alone gives no session.
    WebClient phone = Client();
    const std::string challenge = Challenge(phone, "admin", AdminPassword);
    EXPECT_EQ(phone.Get("/api/session").Json()["loggedIn"], false);
    // The step after the current one is within the allowed drift (the current one confirmed the enrolment).
    const std::string code = TotpCode(secret, 1);
    Answer login = SecondStep(phone, challenge, "code", code);
    ASSERT_EQ(login.status, 200) << login.body;
    EXPECT_EQ(login.Json()["userName"], "admin");
    EXPECT_EQ(login.Json()["secondFactorEnrolmentRequired"], false);
    EXPECT_EQ(phone.Get("/api/UserManagementDp/GetUserManagementConfig").status, 200);
    // The challenge ended with the login; the code cannot be used again.
    WebClient replay = Client();
    EXPECT_EQ(SecondStep(replay, challenge, "code", code).status, 401);
    Answer refused = SecondStep(replay, Challenge(replay, "admin", AdminPassword), "code", code);
    EXPECT_EQ(refused.status, 401);
    EXPECT_EQ(refused.Json()["errorText"].GetString(), loginFailed);

    WebClient lostPhone = Client();
    EXPECT_EQ(SecondStep(lostPhone, Challenge(lostPhone, "admin", AdminPassword), "recoveryCode", recoveryCode).status, 200);
    EXPECT_EQ(admin.Get("/api/second-factor").Json()["recoveryCodesLeft"], 9);

    // Neither the secret nor a code reached the audit records or the log.
    const std::string records = admin.Get("/api/audit?limit=1000").body;
    EXPECT_NE(records.find("secondfactor.enrolled"), std::string::npos);
    EXPECT_NE(records.find("secondfactor.recoverycode.used"), std::string::npos);
    for (const std::string& text : {secret, code, recoveryCode}) {
        EXPECT_EQ(records.find(text), std::string::npos) << text;
        EXPECT_EQ(host->LogText().find(text), std::string::npos) << text;
    }
}

TEST_F(SecondFactorTest, CodeStepRefusesMalformedRequests) {
    const char* json = "application/json";
    for (const auto& [type, body] : std::vector<std::pair<const char*, const char*>>{
             {json, ""}, {json, "[]"}, {json, R"({"code":"123456"})"}, {json, R"({"challenge":"ab"})"},
             {json, R"({"challenge":"ab","code":1})"}, {json, R"({"challenge":"ab","code":"1","recoveryCode":"x"})"},
             {"text/plain", R"({"challenge":"ab","code":"1"})"}})
        EXPECT_EQ(Client().Send("POST", "/api/login/second-factor", body, {{"Content-Type", type}}).status, 400) << type << body;
    WebClient client = Client();
    EXPECT_EQ(SecondStep(client, std::string(64, 'a'), "code", "123456").status, 401) << "an unknown challenge";
}

TEST_F(SecondFactorTest, WrongCodesMakeTheUserWaitLikeWrongPasswords) {
    WebClient admin = Admin();
    SetSessionPolicy(admin, 30, 10, 60, 5, true);
    WebClient alice = PlainUser(admin, "alice");
    const std::string secret = Enrol(alice);

    WebClient client = Client();
    const std::string challenge = Challenge(client, "alice", PlainUserPassword);
    // A code far from now is wrong whatever the clock says.
    Answer wrong = SecondStep(client, challenge, "code", TotpCode(secret, 20));
    EXPECT_EQ(wrong.status, 401);
    EXPECT_EQ(wrong.Header("Retry-After"), "30");
    // During the wait even the right code is not looked at, and the password step waits too.
    Answer waiting = SecondStep(client, challenge, "code", TotpCode(secret, 1));
    EXPECT_EQ(waiting.status, 401);
    EXPECT_FALSE(waiting.Header("Retry-After").empty());
    Answer password = Client().Login("alice", PlainUserPassword);
    EXPECT_EQ(password.status, 401);
    EXPECT_FALSE(password.Header("Retry-After").empty());

    const std::string failures = admin.Get("/api/audit?event=secondfactor.code.failure").body;
    EXPECT_NE(failures.find("\"detail\":\"wrong code\""), std::string::npos) << failures;
    EXPECT_NE(failures.find("waiting after failed logins"), std::string::npos) << failures;
}

TEST_F(SecondFactorTest, PolicyForcesAdministratorsToEnrolBeforeAnythingElse) {
    WebClient admin = Client();
    ASSERT_EQ(admin.Login("admin", InitialAdminPassword).status, 200);
    // The password change comes first.
    EXPECT_EQ(admin.Post("/api/second-factor/enrolment", "").Json()["passwordChangeRequired"], true);
    ASSERT_EQ(admin.ChangeOwnPassword(InitialAdminPassword, AdminPassword).Json()["result"], true);
    WebClient bob = PlainUser(admin, "bob");

    EXPECT_EQ(bob.Get("/api/second-factor/policy").status, 403);
    EXPECT_EQ(admin.Post("/api/second-factor/policy", R"({"policy":"Everyone"})").status, 400);
    ASSERT_EQ(admin.Post("/api/second-factor/policy", R"({"policy":"administrators"})").status, 200);
    // What the administrator, now held to the enrolment, may still read.
    EXPECT_EQ(admin.Get("/api/second-factor").body, R"({"enrolled":false,"required":true,"policy":"administrators","recoveryCodesLeft":0})");

    // The administrator's live session is held to the enrolment at once; the plain user goes on.
    EXPECT_EQ(admin.Get("/api/session").Json()["secondFactorEnrolmentRequired"], true);
    for (const char* path : {"/api/UserManagementDp/GetUserManagementConfig", "/api/sessions", "/api/audit",
                             "/api/second-factor/users", "/api/second-factor/policy", "/api/ldap/status"}) {
        Answer refused = admin.Get(path);
        EXPECT_EQ(refused.status, 403) << path;
        EXPECT_EQ(refused.body,
                  R"({"error":true,"errorText":"Second factor enrolment required","secondFactorEnrolmentRequired":true})")
            << path;
    }
    EXPECT_EQ(admin.Get("/pages/UserManager").Header("Location"), "/password.html");
    EXPECT_EQ(bob.Get("/api/UserManagementInfoDp/GetPasswordInfo").status, 200);
    EXPECT_EQ(bob.Get("/api/session").Json()["secondFactorEnrolmentRequired"], false);

    // A new login gets a session restricted in the same way, and the enrolment lifts it.
    WebClient next = Client();
    Answer login = next.Login("admin", AdminPassword);
    ASSERT_EQ(login.status, 200);
    EXPECT_EQ(login.Json()["secondFactorEnrolmentRequired"], true);
    const std::string secret = Enrol(next);
    EXPECT_EQ(next.Get("/api/session").Json()["secondFactorEnrolmentRequired"], false);
    EXPECT_EQ(admin.Get("/api/UserManagementDp/GetUserManagementConfig").status, 200);
    EXPECT_EQ(admin.Get("/api/second-factor/policy").body, R"({"policy":"administrators"})");
    // The policy keeps it.
    Answer removal = next.Post("/api/second-factor/remove", JsonBody({{"password", AdminPassword}, {"code", TotpCode(secret, 1)}}));
    EXPECT_EQ(removal.status, 409);
    EXPECT_EQ(removal.Json()["errorText"], "The policy requires a second factor");
    EXPECT_NE(admin.Get("/api/audit?event=secondfactor.policy.changed").body.find("policy=administrators"), std::string::npos);
}

TEST_F(SecondFactorTest, AdministratorResetsAUsersSecondFactorAndTheUserRemovesTheOwn) {
    WebClient admin = Admin();
    SetSessionPolicy(admin, 0, 0, 0, 5, true);
    WebClient alice = PlainUser(admin, "alice");
    WebClient carol = PlainUser(admin, "carol");
    Enrol(alice);
    const std::string carolSecret = Enrol(carol);

    EXPECT_EQ(admin.Get("/api/second-factor/users").body,
              R"({"users":[{"userName":"alice","enrolled":true},{"userName":"carol","enrolled":true}]})");
    EXPECT_EQ(alice.Get("/api/second-factor/users").status, 403);
    EXPECT_EQ(alice.Post("/api/second-factor/users/carol/reset", "").status, 403);

    ASSERT_EQ(admin.Post("/api/second-factor/users/alice/reset", "").status, 200);
    EXPECT_EQ(alice.Get("/api/session").Json()["loggedIn"], false);
    EXPECT_EQ(admin.Post("/api/second-factor/users/alice/reset", "").status, 404);
    // The password alone logs in again.
    WebClient aliceAgain = Client();
    ASSERT_EQ(aliceAgain.Login("alice", PlainUserPassword).status, 200);
    EXPECT_EQ(aliceAgain.Get("/api/second-factor").Json()["enrolled"], false);
    const std::string reset = admin.Get("/api/audit?event=secondfactor.reset").body;
    EXPECT_NE(reset.find(R"("user":"admin","source":"127.0.0.1","target":"alice")"), std::string::npos) << reset;

    // Removing the own second factor needs the password and a code.
    Answer wrongPassword = carol.Post("/api/second-factor/remove", JsonBody({{"password", "wrong"}, {"code", TotpCode(carolSecret, 1)}}));
    EXPECT_EQ(wrongPassword.status, 403);
    EXPECT_EQ(wrongPassword.Json()["errorText"], "Wrong password or code");
    Answer removed = carol.Post("/api/second-factor/remove", JsonBody({{"password", PlainUserPassword}, {"code", TotpCode(carolSecret, 1)}}));
    EXPECT_EQ(removed.status, 200) << removed.body;
    EXPECT_EQ(admin.Get("/api/second-factor/users").body, R"({"users":[]})");
}

} // namespace
} // namespace Kyr::IntegrationTests
