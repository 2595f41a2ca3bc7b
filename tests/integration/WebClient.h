#pragma once
#include <rapidjson/document.h>
#include <strings.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "fakes/JsonText.h"

namespace Kyr::IntegrationTests {

inline const char* const InitialAdminPassword = "Initial-Admin-1";
inline const char* const AdminPassword = "Str0ng&Secure-Pass!42";

struct CaseInsensitiveLess {
    bool operator()(const std::string& a, const std::string& b) const { return strcasecmp(a.c_str(), b.c_str()) < 0; }
};
using Headers = std::multimap<std::string, std::string, CaseInsensitiveLess>;

struct Answer {
    int status = 0; // 0: no answer at all
    std::string body;
    Headers headers;
    std::string Header(const std::string& name) const;
    rapidjson::Document Json() const;
};

// A browser-like client of one host: keeps the session cookie and the CSRF token of its login. Each
// request goes over a new connection, over TLS (any certificate accepted) when `tls` is set.
class WebClient {
public:
    explicit WebClient(int port, bool tls = false) : port(port), tls(tls) {}
    Answer Get(const std::string& path, const Headers& extra = {});
    Answer Post(const std::string& path, const std::string& body, const Headers& extra = {});
    Answer Send(const std::string& method, const std::string& path, const std::string& body, Headers headers);
    Answer Login(const std::string& user, const std::string& password);
    // Takes the session cookie and CSRF token of a login answer that carries a session.
    void KeepSession(const Answer& login);
    // POSTs a module function and expects 200 with {"error": false, ...}.
    rapidjson::Document Call(const std::string& providerAndFunction, const std::string& body = "");
    Answer ChangeOwnPassword(const std::string& current, const std::string& next);
    void LoginAsAdminFirstTime(); // "admin" with the initial password, changed to AdminPassword

    std::string sessionId;
    std::string csrfToken;

private:
    int port;
    bool tls;
};

// `path` with the query parameters, URL-encoded.
std::string WithQuery(const std::string& path, const std::vector<std::pair<std::string, std::string>>& parameters);

using Kyr::Testing::ToJson;

} // namespace Kyr::IntegrationTests
