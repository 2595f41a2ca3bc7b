#include "OneRequest.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/ssl.hpp>

#include <stdexcept>

namespace Kyr::WebBench {

namespace asio = boost::asio;
namespace beast = boost::beast;
using tcp = asio::ip::tcp;

namespace {

template <class Stream>
Answer Exchange(Stream& stream, beast::tcp_stream& tcpLayer, http::request<http::string_body>& request,
                std::chrono::milliseconds timeout) {
    tcpLayer.expires_after(timeout);
    http::write(stream, request);
    beast::flat_buffer buffer;
    http::response<http::string_body> response;
    tcpLayer.expires_after(timeout);
    http::read(stream, buffer, response);
    Answer answer;
    answer.status = response.result_int();
    answer.body = std::move(response.body());
    auto cookies = response.equal_range(http::field::set_cookie);
    for (auto field = cookies.first; field != cookies.second; ++field) {
        std::string value(field->value());
        if (value.rfind("session=", 0) == 0) answer.sessionCookie = value.substr(0, value.find(';'));
    }
    return answer;
}

http::request<http::string_body> Request(http::verb method, const std::string& target, const std::string& cookie) {
    http::request<http::string_body> request{method, target, 11};
    request.set(http::field::host, "127.0.0.1");
    if (!cookie.empty()) request.set(http::field::cookie, cookie);
    return request;
}

void Require(const Answer& answer, const std::string& step) {
    if (answer.status != 200)
        throw std::runtime_error(step + " answered " + std::to_string(answer.status) + ": " + answer.body);
}

} // namespace

Answer SendOne(const Endpoint& endpoint, asio::ssl::context& tls, http::request<http::string_body> request,
               std::chrono::milliseconds timeout) {
    asio::io_context io;
    beast::tcp_stream tcpLayer(io);
    tcpLayer.expires_after(timeout);
    tcpLayer.connect(tcp::endpoint(asio::ip::make_address(endpoint.host), endpoint.port));
    tcpLayer.socket().set_option(tcp::no_delay(true));
    request.prepare_payload();
    if (!endpoint.tls) {
        Answer answer = Exchange(tcpLayer, tcpLayer, request, timeout);
        beast::error_code ignored;
        tcpLayer.socket().shutdown(tcp::socket::shutdown_both, ignored);
        return answer;
    }
    beast::ssl_stream<beast::tcp_stream&> stream(tcpLayer, tls);
    stream.handshake(asio::ssl::stream_base::client);
    Answer answer = Exchange(stream, tcpLayer, request, timeout);
    beast::error_code ignored;
    tcpLayer.socket().shutdown(tcp::socket::shutdown_both, ignored);
    return answer;
}

std::string JsonStringMember(const std::string& json, const std::string& name) {
    auto key = json.find("\"" + name + "\"");
    if (key == std::string::npos) return {};
    auto colon = json.find(':', key + name.size() + 2);
    if (colon == std::string::npos) return {};
    auto open = json.find_first_not_of(" \t\r\n", colon + 1);
    if (open == std::string::npos || json[open] != '"') return {};
    auto close = json.find('"', open + 1);
    if (close == std::string::npos) return {};
    return json.substr(open + 1, close - open - 1);
}

AdminSession LogInAdministrator(const Endpoint& endpoint, asio::ssl::context& tls, const std::string& initialPassword,
                                const std::string& newPassword) {
    auto logIn = [&](const std::string& password) {
        auto request = Request(http::verb::post, "/api/login", "");
        request.set(http::field::content_type, "application/json");
        request.body() = "{\"username\":\"admin\",\"password\":\"" + password + "\"}";
        Answer answer = SendOne(endpoint, tls, std::move(request));
        Require(answer, "POST /api/login");
        AdminSession session{answer.sessionCookie, JsonStringMember(answer.body, "csrfToken")};
        if (session.cookie.empty() || session.csrfToken.empty())
            throw std::runtime_error("the login answer has no session: " + answer.body);
        return session;
    };
    AdminSession first = logIn(initialPassword);
    // The passwords are plain letters, digits and '-', so they need no escaping in the query.
    auto change = Request(http::verb::post,
                          "/api/UserManagementInfoDp/ChangeCurrentUserPassword?currentPassword=" + initialPassword +
                              "&newPassword=" + newPassword + "&confirmNewPassword=" + newPassword,
                          first.cookie);
    change.set("X-CSRF-Token", first.csrfToken);
    Answer changed = SendOne(endpoint, tls, std::move(change));
    Require(changed, "ChangeCurrentUserPassword");
    if (changed.body.find("\"error\":true") != std::string::npos || changed.body.find("\"error\": true") != std::string::npos)
        throw std::runtime_error("ChangeCurrentUserPassword refused: " + changed.body);
    return logIn(newPassword);
}

} // namespace Kyr::WebBench
