#pragma once
#include <string>

namespace Kyr::WbmHost {

// Every text the host itself answers with, in one place (the module's answers pass through as they are).
namespace ErrorText {
inline constexpr const char* LoginFailed = "Login failed: wrong user name or password, or too many failed attempts.";
inline constexpr const char* InvalidLoginRequest = "Invalid login request: expected {\"username\": ..., \"password\": ...}";
inline constexpr const char* WrongCsrfToken = "Missing or wrong CSRF token";
inline constexpr const char* LoginRequired = "Login required";
inline constexpr const char* NoPermission = "No permission";
inline constexpr const char* UnknownFunction = "Unknown data provider or function";
inline constexpr const char* UsePost = "This function changes the device: use POST";
inline constexpr const char* ProviderUnavailable = "Data provider not available";
inline constexpr const char* NestedTooDeeply = "Request data nested too deeply";
inline constexpr const char* BodyTooLarge = "Request body too large";
inline constexpr const char* BodyTooSlow = "Request body too slow";
inline constexpr const char* GetWithBody = "A GET request carries no body";
inline constexpr const char* Busy = "The device is busy: try again in a moment";
inline constexpr const char* InternalError = "Internal error";
inline constexpr const char* UnknownException = "Unknown exception";
inline constexpr const char* PageUnavailable = "Page not available";
inline constexpr const char* NoPagePermission = "No permission for this page";
inline constexpr const char* InvalidDirectoryTest = "Invalid connection test: expected nothing, or {\"username\": ..., \"password\": ...}";
inline constexpr const char* NoSuchSession = "No such session";
inline constexpr const char* AdministratorsOnly = "Only administrators may do this";
inline constexpr const char* AuditUnavailable = "Changes are refused while audit records cannot be stored";
inline constexpr const char* InvalidSecondFactorLogin =
    "Invalid request: expected {\"challenge\": ..., \"code\": ...} or {\"challenge\": ..., \"recoveryCode\": ...}";
inline constexpr const char* InvalidCodeRequest = "Invalid request: expected {\"code\": ...}";
inline constexpr const char* InvalidRemovalRequest = "Invalid request: expected {\"password\": ..., \"code\": ...}";
inline constexpr const char* InvalidSecondFactorPolicy = "Invalid policy: expected off, administrators or everyone";
inline constexpr const char* SecondFactorAlreadySetUp = "A second factor is already set up";
inline constexpr const char* NoPendingEnrolment = "No second factor enrolment is under way";
inline constexpr const char* CodeNotValid = "The code is not valid";
inline constexpr const char* WrongPasswordOrCode = "Wrong password or code";
inline constexpr const char* PolicyRequiresSecondFactor = "The policy requires a second factor";
inline constexpr const char* NoSecondFactor = "No second factor is set up";
inline constexpr const char* PlainHttpOnTlsPort = "This port speaks HTTPS only: use an https:// address.\n";
} // namespace ErrorText

inline constexpr const char* JsonContentType = "application/json; charset=utf-8";
inline constexpr const char* HtmlContentType = "text/html; charset=utf-8";

// The short phrase of a status the host answers with on its own ("Not found", ...).
const char* StatusText(int status);

// A small HTML page with `title` as heading and a link to the login page.
std::string HtmlErrorPage(const std::string& title);

} // namespace Kyr::WbmHost
