#include "handlers/UmHandler.h"

#include <boost/regex.hpp>
#include <rapidjson/document.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Commons/Validation/Rules.h"
#include "config/JsonHelper.h"
#include "config/UserManagementConfig.h"
#include "handlers/FormValues.h"
#include "notifications/SecurityNotifications.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

namespace {

using RequestFunction = UmHandler::WbmResponse (*)(UmHandler&, const UmHandler::WbmRequest&);

template <auto method>
UmHandler::WbmResponse Call(UmHandler& handler, const UmHandler::WbmRequest& request) {
    return (handler.*method)(request);
}

// The request functions of "UserManagementDp", registered in this order.
const std::pair<const char*, RequestFunction> requestFunctions[] = {
    {"GetUserManagementConfig", &Call<&UmHandler::GetUserManagementConfig>},
    {"GetSessionPolicyConfig", &Call<&UmHandler::GetSessionPolicyConfig>},
    {"GetPasswordRoleRulesets", &Call<&UmHandler::GetPasswordRoleRulesets>},
    {"GetPasswordBlockList", &Call<&UmHandler::GetPasswordBlockList>},
    {"IsUserAuthenticationRequired", &Call<&UmHandler::IsUserAuthenticationRequired>},
    {"IsAuthenticationDeactivatable", &Call<&UmHandler::IsAuthenticationDeactivatable>},
    {"SetSessionPolicyConfig", &Call<&UmHandler::SetSessionPolicyConfig>},
    {"SetPasswordBlockList", &Call<&UmHandler::SetPasswordBlockList>},
    {"SetPasswordRoleRulesets", &Call<&UmHandler::SetPasswordRoleRulesets>},
    {"AddUser", &Call<&UmHandler::AddUser>},
    {"RemoveUser", &Call<&UmHandler::RemoveUser>},
    {"RestartSystem", &Call<&UmHandler::RestartSystem>},
    {"SetUserPassword", &Call<&UmHandler::SetUserPassword>},
    {"ModifyUserConfig", &Call<&UmHandler::ModifyUserConfig>},
    {"SetAuthenticationRequiredState", &Call<&UmHandler::SetAuthenticationRequiredState>},
};

} // namespace

// Changes device configuration, hence a configuration provider.
UmHandler::UmHandler() : UmWbmHandlerBase(true) {
    for (const auto& [name, function] : requestFunctions)
        RegisterHandlerDelegate(name, std::make_shared<RequestDelegate>(
            [this, function = function](const WbmRequest& request) { return function(*this, request); }));
}

UmHandler::~UmHandler() = default;

bool UmHandler::IsAvailable() const { return BaseServicesAvailable(); }

bool UmHandler::HasPermissions(const SecurityToken& token) const {
    return HasPermissionOnObject(token, umConfigPermissionsName);
}

void UmHandler::SubscribeServices() { SubscribeBaseServices(); }

// ---- User administration ----------------------------------------------------------------------
// Form bodies are searched (not matched) with one expression per function, compiled once; groups
// are greedy and values are taken as sent, without URL decoding. Each expression's keys are listed
// beside it for the linear pre-search that bounds the work (SearchForm).

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

// Values that fit their service fields (a user name of at most 63 bytes, passwords of at most 127)
// stand, with their keys, well within this many bytes from where the first key stands.
constexpr std::size_t maxSearchedBytes = 1024;

// The groups of the first place where `expression` (made of `keys`, each followed by a greedy
// "(.+)") matches in the request text. Without one, the request is reported as invalid under
// `reportedFunction` and nothing is returned.
// The work is bounded whatever the body's length: the keys are located first in one linear pass
// (LocateFormValues finds the expression's own groups); the expression then searches only from
// there, and only when the rest is short enough for values that fit their fields. Longer values are
// taken as located (they are the same groups) and checked by the function as usual.
std::optional<std::vector<String>> SearchForm(const UmHandler::WbmRequest& request, const boost::regex& expression,
                                              const std::vector<String>& keys, const char* reportedFunction) {
    const String text = RequestText(request);
    std::optional<FormValues> located = LocateFormValues(text, keys);
    if (!located) {
        ReportInvalidRequest(text, reportedFunction);
        return std::nullopt;
    }
    if (text.size() - located->start > maxSearchedBytes) return std::move(located->values);

    const String searched = text.substr(located->start);
    boost::smatch match;
    try {
        if (!boost::regex_search(searched, match, expression)) {
            ReportInvalidRequest(text, reportedFunction);
            return std::nullopt;
        }
    } catch (const std::runtime_error&) {
        // Boost's own complexity or memory bound; out of reach for a text this short.
        return std::move(located->values);
    }
    std::vector<String> groups;
    for (std::size_t i = 1; i < match.size(); ++i) groups.push_back(match.str(i));
    return groups;
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
    static const std::vector<String> keys = {"username=", "&password=", "&confirmPassword="};
    String errorText;
    // Reported under the password function's name on purpose; monitoring relies on it.
    const auto form = SearchForm(request, expression, keys, "SetUserPassword");
    if (!form) {
        errorText = invalidRequestText;
    } else if (!ValidateUserName(form->at(0))) {
        errorText = "Username has invalid characters";
        LogError("Username has invalid characters");
    } else if (form->at(1) != form->at(2)) {
        errorText = "Passwords don't match!";
    } else {
        const RscString<64> userName(form->at(0));
        const RscString<128> password(form->at(1));
        if (!userManagementService->AddUser(userName, password))
            errorText = LastErrorText(*userManagementService);
    }
    return Answer(errorText);
}

UmHandler::WbmResponse UmHandler::RemoveUser(const WbmRequest& request) const {
    static const boost::regex expression("(?:username=)(.+)");
    static const std::vector<String> keys = {"username="};
    String errorText;
    // Reported under the password function's name on purpose; monitoring relies on it.
    const auto form = SearchForm(request, expression, keys, "SetUserPassword");
    if (!form) {
        errorText = invalidRequestText;
    } else {
        const RscString<64> userName(form->at(0));
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
    static const std::vector<String> keys = {"username=", "&newPassword=", "&confirmNewPassword="};
    String errorText;
    const auto form = SearchForm(request, expression, keys, "SetUserPassword");
    if (!form) {
        errorText = invalidRequestText;
    } else if (form->at(1) != form->at(2)) {
        errorText = "Passwords don't match!";
    } else {
        const RscString<64> userName(form->at(0));
        const RscString<128> newPassword(form->at(1));
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
    static const std::vector<String> keys = {"userAthenticationEnabled="};
    String errorText;
    const auto form = SearchForm(request, expression, keys, "SetAuthenticationRequiredState");
    if (!form) {
        errorText = invalidRequestText;
    } else {
        // Only the exact word switches authentication on; anything else switches it off.
        const bool required = form->at(0) == "true";
        if (!userManagementService->SetAuthenticationRequired(required)) {
            errorText = "Failed to set user authentication required state";
            LogError("Failed to set user authentication required state to :{0}", required);
        }
    }
    return Answer(errorText);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
