#pragma once
#include <httplib.h>
#include <rapidjson/document.h>

#include <string>

#include "fakes/JsonText.h"

namespace Kyr::IntegrationTests {

inline const char* const InitialAdminPassword = "Initial-Admin-1";
inline const char* const AdminPassword = "Str0ng&Secure-Pass!42";

struct Answer {
    int status = 0; // 0: no answer at all
    std::string body;
    httplib::Headers headers;
    std::string Header(const std::string& name) const;
    rapidjson::Document Json() const;
};

// A browser-like client of one host: keeps the session cookie and the CSRF token of its login.
class WebClient {
public:
    explicit WebClient(int port);
    Answer Get(const std::string& path, const httplib::Headers& extra = {});
    Answer Post(const std::string& path, const std::string& body, const httplib::Headers& extra = {});
    Answer Login(const std::string& user, const std::string& password);
    // POSTs a module function and expects 200 with {"error": false, ...}.
    rapidjson::Document Call(const std::string& providerAndFunction, const std::string& body = "");
    Answer ChangeOwnPassword(const std::string& current, const std::string& next);
    void LoginAsAdminFirstTime(); // "admin" with the initial password, changed to AdminPassword

    std::string sessionId;
    std::string csrfToken;

private:
    httplib::Client client;
};

using Kyr::Testing::ToJson;

} // namespace Kyr::IntegrationTests
