#pragma once
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/http.hpp>

#include <chrono>
#include <string>

#include "Endpoint.h"

namespace Kyr::WebBench {

namespace http = boost::beast::http;

struct Answer {
    unsigned status = 0;
    std::string body;
    std::string sessionCookie; // "session=..." from Set-Cookie, empty when none was set
};

// Sends one request on a new connection from 127.0.0.1 (with a TLS handshake when the endpoint has
// TLS) and reads the answer; every step is bounded by `timeout`. Throws on network errors.
Answer SendOne(const Endpoint& endpoint, boost::asio::ssl::context& tls, http::request<http::string_body> request,
               std::chrono::milliseconds timeout = std::chrono::seconds(10));

struct AdminSession {
    std::string cookie; // "session=..."
    std::string csrfToken;
};

// Logs "admin" in with `initialPassword`, replaces it by `newPassword` (the initial password must be
// changed before the module's functions answer) and logs in again. Throws with the server's answer
// when a step fails.
AdminSession LogInAdministrator(const Endpoint& endpoint, boost::asio::ssl::context& tls,
                                const std::string& initialPassword, const std::string& newPassword);

// The value of a JSON string member in a flat answer ("csrfToken" -> "ab12..."); empty when absent.
std::string JsonStringMember(const std::string& json, const std::string& name);

} // namespace Kyr::WebBench
