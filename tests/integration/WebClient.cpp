#include "WebClient.h"

#include <gtest/gtest.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <csignal>
#include <cstdio>

namespace Kyr::IntegrationTests {

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
    client.set_connection_timeout(5, 0);
    client.set_read_timeout(20, 0);
}

Answer WebClient::Convert(const httplib::Result& result) {
    if (!result) return {};
    Answer answer{result->status, result->body, result->headers};
    return answer;
}

httplib::Headers WebClient::WithSession(const httplib::Headers& extra) const {
    httplib::Headers headers = extra;
    if (!sessionId.empty()) headers.emplace("Cookie", "session=" + sessionId);
    if (!csrfToken.empty() && headers.find("X-CSRF-Token") == headers.end()) headers.emplace("X-CSRF-Token", csrfToken);
    return headers;
}

Answer WebClient::Get(const std::string& path, const httplib::Headers& extra) {
    return Convert(client.Get(path.c_str(), WithSession(extra)));
}

Answer WebClient::Post(const std::string& path, const std::string& body, const httplib::Headers& extra) {
    return Convert(client.Post(path.c_str(), WithSession(extra), body, "text/plain"));
}

Answer WebClient::Login(const std::string& user, const std::string& password) {
    rapidjson::Document body(rapidjson::kObjectType);
    body.AddMember("username", rapidjson::Value(user.c_str(), body.GetAllocator()), body.GetAllocator());
    body.AddMember("password", rapidjson::Value(password.c_str(), body.GetAllocator()), body.GetAllocator());
    Answer answer = Convert(client.Post("/api/login", ToJson(body), "application/json"));
    if (answer.status == 200) {
        const std::string cookie = answer.Header("Set-Cookie");
        sessionId = cookie.substr(8, cookie.find(';') - 8); // "session=<id>; ..."
        csrfToken = answer.Json()["csrfToken"].GetString();
    }
    return answer;
}

rapidjson::Document WebClient::Call(const std::string& providerAndFunction, const std::string& body) {
    Answer answer = Post("/api/" + providerAndFunction, body);
    EXPECT_EQ(answer.status, 200) << providerAndFunction << ": " << answer.body;
    rapidjson::Document document;
    document.Parse(answer.body.c_str());
    EXPECT_TRUE(document.IsObject() && document.HasMember("error") && document["error"] == false)
        << providerAndFunction << ": " << answer.body;
    return document;
}

Answer WebClient::ChangeOwnPassword(const std::string& current, const std::string& next) {
    return Post("/api/UserManagementInfoDp/ChangeCurrentUserPassword?currentPassword=" + UrlEncode(current) +
                    "&newPassword=" + UrlEncode(next) + "&confirmNewPassword=" + UrlEncode(next),
                "");
}

void WebClient::LoginAsAdminFirstTime() {
    ASSERT_EQ(Login("admin", InitialAdminPassword).status, 200);
    Answer changed = ChangeOwnPassword(InitialAdminPassword, AdminPassword);
    ASSERT_EQ(changed.status, 200);
    ASSERT_EQ(changed.Json()["result"], true) << changed.body;
}

std::string UrlEncode(const std::string& text) {
    std::string encoded;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
            encoded += static_cast<char>(c);
        } else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", c);
            encoded += hex;
        }
    }
    return encoded;
}

std::string ToJson(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

} // namespace Kyr::IntegrationTests
