#include "handlers/UmHandler.h"

#include <boost/regex.hpp>
#include <rapidjson/document.h>

#include <memory>
#include <vector>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Commons/Validation/Rules.h"
#include "config/JsonHelper.h"
#include "config/UserManagementConfig.h"
#include "notifications/SecurityNotifications.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Changes device configuration, hence a configuration provider.
UmHandler::UmHandler() : UmWbmHandlerBase(true) {
    // Request functions, registered in this order:
    RegisterHandlerDelegate("GetUserManagementConfig", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetUserManagementConfig(request); }));
    RegisterHandlerDelegate("GetSessionPolicyConfig", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetSessionPolicyConfig(request); }));
    RegisterHandlerDelegate("GetPasswordRoleRulesets", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetPasswordRoleRulesets(request); }));
    RegisterHandlerDelegate("GetPasswordBlockList", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetPasswordBlockList(request); }));
    RegisterHandlerDelegate("IsUserAuthenticationRequired", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return IsUserAuthenticationRequired(request); }));
    RegisterHandlerDelegate("IsAuthenticationDeactivatable", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return IsAuthenticationDeactivatable(request); }));
    RegisterHandlerDelegate("SetSessionPolicyConfig", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetSessionPolicyConfig(request); }));
    RegisterHandlerDelegate("SetPasswordBlockList", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetPasswordBlockList(request); }));
    RegisterHandlerDelegate("SetPasswordRoleRulesets", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetPasswordRoleRulesets(request); }));
    RegisterHandlerDelegate("AddUser", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return AddUser(request); }));
    RegisterHandlerDelegate("RemoveUser", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return RemoveUser(request); }));
    RegisterHandlerDelegate("RestartSystem", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return RestartSystem(request); }));
    RegisterHandlerDelegate("SetUserPassword", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetUserPassword(request); }));
    RegisterHandlerDelegate("ModifyUserConfig", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return ModifyUserConfig(request); }));
    RegisterHandlerDelegate("SetAuthenticationRequiredState", std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetAuthenticationRequiredState(request); }));
}

UmHandler::~UmHandler() = default;

bool UmHandler::IsAvailable() const { return BaseServicesAvailable(); }

bool UmHandler::HasPermissions(const SecurityToken& token) const {
    return HasPermissionOnObject(token, umConfigPermissionsName);
}

void UmHandler::SubscribeServices() { SubscribeBaseServices(); }

// ---- User administration ----------------------------------------------------------------------
// Form bodies are searched (not matched) with one expression per function, compiled once; groups
// are greedy and values are taken as sent, without URL decoding.

namespace {

using Kyr::System::Commons::Singleton;
using Kyr::System::Rsc::RscString;

constexpr const char* invalidRequestText = "Invalid Request!";

String RequestText(const UmHandler::WbmRequest& request) { return request.GetRequestData().GetDataString(true); }

void ReportInvalidRequest(const String& requestText, const char* functionName) {
    Singleton<SecurityNotifications>::GetInstance().SendUserManagerInvalidRequest(requestText, functionName);
}

// The envelope; its error flag is set exactly when there is an error text.
UmHandler::WbmResponse Answer(const String& errorText, rapidjson::Value result = rapidjson::Value()) {
    rapidjson::Document document(rapidjson::kObjectType);
    return JsonHelper::BuildJsonResponse(document, !errorText.empty(), errorText, result);
}

String LastErrorText(Kyr::System::Um::Services::IUserManagementService& service) {
    return service.GetLastErrorText().ToString();
}

} // namespace

bool UmHandler::ValidateUserName(const String& userName) {
    using namespace Kyr::System::Commons::Validation;
    // Only the name made of one backslash is refused; a name containing one is fine.
    static const AndRule rule({
        std::make_shared<DelegateRule>("User name string size",
                                       [](const String& name) { return !name.empty() && name.size() <= 63; }),
        std::make_shared<LegalElementRule>("Invalid user name characters", std::vector<String>{"\\"}, false),
    });
    std::vector<String> errors; // the rules' own messages are not shown to anybody
    return rule.Validate(userName, errors);
}

UmHandler::WbmResponse UmHandler::GetUserManagementConfig(const WbmRequest& /*request*/) const {
    Config::UserManagementConfig config;
    for (const RscString<64>& userName : userManagementService->GetUsers()) {
        Config::UserConfigItem item;
        item.userName = userName.ToString();
        item.hasAdminRuleset = userManagementService->HasAdminRuleset(userName);
        item.userRoles = Config::ListedRoles(userManagementService->GetUserRoles(userName));
        config.usersConfig.push_back(std::move(item));
    }
    config.allUserRoles = Config::ListedRoles(userManagementService->GetAllRoles());

    // Without password infos the users are listed with empty ones; that is not an error.
    std::vector<Kyr::System::Um::Services::Internal::UserPasswordInfo> passwordInfos;
    if (userManagementService->GetAllUsersPasswordInfo(passwordInfos))
        config.SetAllUsersPasswordsInfo(passwordInfos);

    rapidjson::Document document(rapidjson::kObjectType);
    rapidjson::Value value;
    config.ToJson(document, value);
    return JsonHelper::BuildJsonResponse(document, false, String(), value);
}

UmHandler::WbmResponse UmHandler::IsUserAuthenticationRequired(const WbmRequest& /*request*/) const {
    return Answer(String(), rapidjson::Value(userManagementService->GetAuthenticationRequired()));
}

UmHandler::WbmResponse UmHandler::IsAuthenticationDeactivatable(const WbmRequest& /*request*/) const {
    return Answer(String(), rapidjson::Value(userManagementService->GetAuthenticationDeactivatable()));
}

UmHandler::WbmResponse UmHandler::AddUser(const WbmRequest& request) const {
    static const boost::regex expression("(?:username=)(.+)(?:&password=)(.+)(?:&confirmPassword=)(.+)");
    String errorText;
    const String text = RequestText(request);
    boost::smatch match;
    if (!boost::regex_search(text, match, expression)) {
        // Reported under the password function's name on purpose; monitoring relies on it.
        ReportInvalidRequest(RequestText(request), "SetUserPassword");
        errorText = invalidRequestText;
    } else if (!ValidateUserName(match.str(1))) {
        errorText = "Username has invalid characters";
        LogError("Username has invalid characters");
    } else if (match.str(2) != match.str(3)) {
        errorText = "Passwords don't match!";
    } else {
        const RscString<64> userName(match.str(1));
        const RscString<128> password(match.str(2));
        if (!userManagementService->AddUser(userName, password))
            errorText = LastErrorText(*userManagementService);
    }
    return Answer(errorText);
}

UmHandler::WbmResponse UmHandler::RemoveUser(const WbmRequest& request) const {
    static const boost::regex expression("(?:username=)(.+)");
    String errorText;
    const String text = RequestText(request);
    boost::smatch match;
    if (!boost::regex_search(text, match, expression)) {
        // Reported under the password function's name on purpose; monitoring relies on it.
        ReportInvalidRequest(RequestText(request), "SetUserPassword");
        errorText = invalidRequestText;
    } else {
        const RscString<64> userName(match.str(1));
        if (!userManagementService->RemoveUser(userName))
            errorText = LastErrorText(*userManagementService);
    }
    return Answer(errorText);
}

UmHandler::WbmResponse UmHandler::RestartSystem(const WbmRequest& /*request*/) const {
    // The answer only says the restart was asked for; whether it was accepted is not reported.
    deviceControlService->RestartDevice();
    return Answer(String());
}

UmHandler::WbmResponse UmHandler::SetUserPassword(const WbmRequest& request) const {
    static const boost::regex expression("(?:username=)(.+)(?:&newPassword=)(.+)(?:&confirmNewPassword=)(.+)");
    String errorText;
    const String text = RequestText(request);
    boost::smatch match;
    if (!boost::regex_search(text, match, expression)) {
        ReportInvalidRequest(RequestText(request), "SetUserPassword");
        errorText = invalidRequestText;
    } else if (match.str(2) != match.str(3)) {
        errorText = "Passwords don't match!";
    } else {
        const RscString<64> userName(match.str(1));
        const RscString<128> newPassword(match.str(2));
        if (!userManagementService->SetUserPassword(userName, newPassword))
            errorText = LastErrorText(*userManagementService);
    }
    return Answer(errorText);
}

UmHandler::WbmResponse UmHandler::ModifyUserConfig(const WbmRequest& request) const {
    String errorText;
    Config::UserConfigItem item;
    if (!item.ParseJson(RequestText(request))) {
        // The notification names the expected form, not the (possibly large) body.
        ReportInvalidRequest("JSON-Object", "ModifyUserConfig");
        LogError("Failed to modify user config. Invalid request!");
        errorText = invalidRequestText;
    } else {
        const std::vector<RscString<64>> roles(item.userRoles.begin(), item.userRoles.end());
        const RscString<64> userName(item.userName);
        if (!userManagementService->SetUserRoles(userName, roles))
            errorText = LastErrorText(*userManagementService);
        else if (!userManagementService->SetAdminRuleset(userName, item.hasAdminRuleset))
            errorText = LastErrorText(*userManagementService);
    }
    return Answer(errorText, rapidjson::Value(errorText.empty()));
}

UmHandler::WbmResponse UmHandler::SetAuthenticationRequiredState(const WbmRequest& request) const {
    // The key's spelling is what clients send.
    static const boost::regex expression("(?:userAthenticationEnabled=)(.+)");
    String errorText;
    const String text = RequestText(request);
    boost::smatch match;
    if (!boost::regex_search(text, match, expression)) {
        ReportInvalidRequest(RequestText(request), "SetAuthenticationRequiredState");
        errorText = invalidRequestText;
    } else {
        // Only the exact word switches authentication on; anything else switches it off.
        const bool required = match.str(1) == "true";
        if (!userManagementService->SetAuthenticationRequired(required)) {
            errorText = "Failed to set user authentication required state";
            LogError("Failed to set user authentication required state to :{0}", required);
        }
    }
    return Answer(errorText);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
