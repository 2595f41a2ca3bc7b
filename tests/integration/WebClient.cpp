#include "WebClient.h"

#include <gtest/gtest.h>

#include <csignal>

namespace Kyr::IntegrationTests {

namespace {
Answer Convert(const httplib::Result& result) {
    return result ? Answer{result->status, result->body, result->headers} : Answer{};
}
} // namespace

std::string Answer::Header(const std::string& name) const {
    auto it = headers.find(name);
    return it == headers.end() ? std::string() : it->second;
}

rapidjson::Document Answer::Json() const {
    rapidjson::Document document;
    document.Parse(body.c_str());
    EXPECT_FALSE(document.HasParseError()) << "not JSON: " << body;
    return document;
}

WebClient::WebClient(int port) : client("127.0.0.1", port) {
    // The host may answer 413 and close before a large body is sent; that must not end the tests.
    static const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    (void)ignored;
    client.set_read_timeout(20, 0);
}

Answer WebClient::Get(const std::string& path, const httplib::Headers& extra) {
    httplib::Headers headers = extra;
    if (!sessionId.empty()) headers.emplace("Cookie", "session=" + sessionId);
    return Convert(client.Get(path.c_str(), headers));
}

Answer WebClient::Post(const std::string& path, const std::string& body, const httplib::Headers& extra) {
    httplib::Headers headers = extra;
    if (!sessionId.empty()) headers.emplace("Cookie", "session=" + sessionId);
    if (headers.find("X-CSRF-Token") == headers.end()) headers.emplace("X-CSRF-Token", csrfToken);
    return Convert(client.Post(path.c_str(), headers, body, "text/plain"));
}

Answer WebClient::Login(const std::string& user, const std::string& password) {
    rapidjson::Document body(rapidjson::kObjectType);
    body.AddMember("username", rapidjson::Value(user.c_str(), body.GetAllocator()), body.GetAllocator());
    body.AddMember("password", rapidjson::Value(password.c_str(), body.GetAllocator()), body.GetAllocator());
    Answer answer = Convert(client.Post("/api/login", ToJson(body), "application/json"));
    if (answer.status == 200) {
        const std::string cookie = answer.Header("Set-Cookie"); // "session=<id>; ..."
        sessionId = cookie.substr(8, cookie.find(';') - 8);
        csrfToken = answer.Json()["csrfToken"].GetString();
    }
    return answer;
}

rapidjson::Document WebClient::Call(const std::string& providerAndFunction, const std::string& body) {
    Answer answer = Post("/api/" + providerAndFunction, body);
    rapidjson::Document document;
    document.Parse(answer.body.c_str());
    EXPECT_TRUE(answer.status == 200 && document.IsObject() && document.HasMember("error") && document["error"] == false)
        << providerAndFunction << ": " << answer.status << " " << answer.body;
    return document;
}

Answer WebClient::ChangeOwnPassword(const std::string& current, const std::string& next) {
    return Post(httplib::append_query_params("/api/UserManagementInfoDp/ChangeCurrentUserPassword",
                                             {{"currentPassword", current}, {"newPassword", next}, {"confirmNewPassword", next}}),
                "");
}

void WebClient::LoginAsAdminFirstTime() {
    ASSERT_EQ(Login("admin", InitialAdminPassword).status, 200);
    Answer changed = ChangeOwnPassword(InitialAdminPassword, AdminPassword);
    ASSERT_EQ(changed.status, 200);
    ASSERT_EQ(changed.Json()["result"], true) << changed.body;
}

} // namespace Kyr::IntegrationTests
