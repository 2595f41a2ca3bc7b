#pragma once
#include <optional>
#include <vector>

#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

// The host's own JSON answers (the module's answers pass through unchanged).
Kyr::String ErrorBody(const Kyr::String& errorText);
Kyr::String PasswordChangeRequiredBody();
Kyr::String SecondFactorEnrolmentRequiredBody();
Kyr::String LoginBody(const Kyr::String& userName, const Kyr::String& csrfToken, bool passwordChangeRequired,
                      bool secondFactorEnrolmentRequired = false);
Kyr::String SessionBody(const Kyr::String* userName, const Kyr::String* csrfToken, bool passwordChangeRequired,
                        bool authenticationRequired, bool directoryUser = false, bool secondFactorEnrolmentRequired = false);
Kyr::String LinesBody(const std::vector<Kyr::String>& lines);
Kyr::String NoErrorBody();

struct SessionView;
// {"sessions":[{"handle":..,"userName":..,"sourceAddress":..,"loginTime":ms,"lastActivity":ms,"expires":ms|null,"own":bool}]}
Kyr::String SessionsBody(const std::vector<SessionView>& sessions);

struct Credentials {
    Kyr::String userName;
    Kyr::String password;
};
// {"username": "...", "password": "..."} and nothing else of importance; nothing for anything else.
std::optional<Credentials> ParseLoginBody(const Kyr::String& body);

// The lines of the module's system use notification answer
// ({"error":false,...,"result":{"SystemUseNotification":[...]}}); nothing when it is an error.
std::optional<std::vector<Kyr::String>> ParseNotificationLines(const Kyr::String& moduleAnswer);

// Whether `body` opens JSON arrays or objects more than `maxDepth` deep before it ends or stops being
// JSON. Such a body would exhaust the stack of the module's recursive JSON parsers.
bool JsonNestedTooDeeply(const Kyr::String& body, unsigned maxDepth);

} // namespace Kyr::WbmHost
