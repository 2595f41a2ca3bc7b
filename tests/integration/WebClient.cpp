#include "WebClient.h"

#include <gtest/gtest.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include <cctype>
#include <cstdio>

namespace Kyr::IntegrationTests {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;

namespace {

bool EqualsIgnoringCase(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

template <class Stream>
Answer Exchange(Stream& stream, http::request<http::string_body>& request) {
    // A host that refuses a request from its head answers before it reads the body: the answer is
    // read even when the body could not be sent completely.
    beast::error_code writeError;
    http::write(stream, request, writeError);
    beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(64u << 20);
    http::read(stream, buffer, parser);
    Answer answer;
    answer.status = static_cast<int>(parser.get().result_int());
    answer.body = std::move(parser.get().body());
    for (const auto& field : parser.get()) answer.headers.emplace(std::string(field.name_string()), std::string(field.value()));
    return answer;
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

Answer WebClient::Send(const std::string& method, const std::string& path, const std::string& body, Headers headers) {
    http::request<http::string_body> request(http::string_to_verb(method), path, 11);
    request.set(http::field::host, "127.0.0.1:" + std::to_string(port));
    for (const auto& [name, value] : headers) {
        if (EqualsIgnoringCase(name, "Host")) request.erase(http::field::host);
        request.insert(name, value);
    }
    if (method != "GET" || !body.empty()) {
        request.body() = body;
        request.prepare_payload();
    }
    try {
        net::io_context io;
        net::ip::tcp::endpoint endpoint(net::ip::make_address("127.0.0.1"), static_cast<unsigned short>(port));
        if (!tls) {
            beast::tcp_stream stream(io);
            stream.expires_after(std::chrono::seconds(30));
            stream.connect(endpoint);
            return Exchange(stream, request);
        }
        net::ssl::context context(net::ssl::context::tls_client);
        context.set_verify_mode(net::ssl::verify_none);
        beast::ssl_stream<beast::tcp_stream> stream(io, context);
        beast::get_lowest_layer(stream).expires_after(std::chrono::seconds(30));
        beast::get_lowest_layer(stream).connect(endpoint);
        stream.handshake(net::ssl::stream_base::client);
        return Exchange(stream, request);
    } catch (const std::exception&) {
        return Answer{}; // no (complete) answer: the host closed the connection or did not answer
    }
}

Answer WebClient::Get(const std::string& path, const Headers& extra) {
    Headers headers = extra;
    if (!sessionId.empty()) headers.emplace("Cookie", "session=" + sessionId);
    return Send("GET", path, "", headers);
}

Answer WebClient::Post(const std::string& path, const std::string& body, const Headers& extra) {
    Headers headers = extra;
    if (!sessionId.empty()) headers.emplace("Cookie", "session=" + sessionId);
    if (headers.find("X-CSRF-Token") == headers.end()) headers.emplace("X-CSRF-Token", csrfToken);
    if (headers.find("Content-Type") == headers.end()) headers.emplace("Content-Type", "text/plain");
    return Send("POST", path, body, headers);
}

Answer WebClient::Login(const std::string& user, const std::string& password) {
    rapidjson::Document body(rapidjson::kObjectType);
    body.AddMember("username", rapidjson::Value(user.c_str(), body.GetAllocator()), body.GetAllocator());
    body.AddMember("password", rapidjson::Value(password.c_str(), body.GetAllocator()), body.GetAllocator());
    Answer answer = Send("POST", "/api/login", ToJson(body), {{"Content-Type", "application/json"}});
    KeepSession(answer);
    return answer;
}

void WebClient::KeepSession(const Answer& login) {
    // A user with a second factor gets no session at the password step, only a challenge.
    if (login.status != 200 || login.Header("Set-Cookie").empty()) return;
    const std::string cookie = login.Header("Set-Cookie"); // "session=<id>; ..."
    sessionId = cookie.substr(8, cookie.find(';') - 8);
    csrfToken = login.Json()["csrfToken"].GetString();
}

rapidjson::Document WebClient::Call(const std::string& providerAndFunction, const std::string& body) {
    Answer answer = Post("/api/" + providerAndFunction, body);
    rapidjson::Document document;
    document.Parse(answer.body.c_str());
    EXPECT_TRUE(answer.status == 200 && document.IsObject() && document.HasMember("error") && document["error"] == false)
        << providerAndFunction << ": " << answer.status << " " << answer.body;
    return document;
}

std::string WithQuery(const std::string& path, const std::vector<std::pair<std::string, std::string>>& parameters) {
    std::string result = path;
    char separator = '?';
    for (const auto& [name, value] : parameters) {
        result += separator + name + "=";
        for (unsigned char c : value) {
            if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
                result += static_cast<char>(c);
            } else {
                char escaped[4];
                std::snprintf(escaped, sizeof escaped, "%%%02X", c);
                result += escaped;
            }
        }
        separator = '&';
    }
    return result;
}

Answer WebClient::ChangeOwnPassword(const std::string& current, const std::string& next) {
    return Post(WithQuery("/api/UserManagementInfoDp/ChangeCurrentUserPassword",
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
