#include "handlers/UmInfoHandler.h"

#include <memory>

#include "Kyr/Services/Commons/Wbm/Messages/JsonResponse.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/RscString.h"
#include "config/JsonHelper.h"
#include "config/PasswordInfo.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::Services::Commons::Wbm::Messages::BooleanResult;
using Kyr::Services::Commons::Wbm::Messages::CharsetType;
using Kyr::Services::Commons::Wbm::Messages::ContentSubtype;
using Kyr::Services::Commons::Wbm::Messages::ContentType;
using Kyr::Services::Commons::Wbm::Messages::JsonResponse;
using Kyr::Services::Commons::Wbm::Messages::RequestQuery;
using Kyr::Services::Commons::Wbm::Messages::ResponseHeader;
using Kyr::System::Commons::ArgumentException;
using Kyr::System::Commons::SecureStrncpy;
using Kyr::System::Rsc::RscString;
using Kyr::System::Um::Services::Internal::UserPasswordInfo;

namespace {

// The platform's response kind for a boolean result.
constexpr int booleanResponseKind = 4;

using PasswordBuffer = RscString<128>;

// Length checked before the copy. The value is deliberately left out of the exception: it is a
// password and the exception may end up in a log or an error answer.
void CopyPassword(const String& password, PasswordBuffer& buffer) {
    if (password.size() >= PasswordBuffer::Capacity)
        throw ArgumentException::Create("arg", String(), "Input string is too long");
    SecureStrncpy(buffer.GetBuffer(), PasswordBuffer::Capacity, password.data(), password.size());
}

} // namespace

// Serves information about the caller only, hence not a configuration provider.
UmInfoHandler::UmInfoHandler() : UmWbmHandlerBase(false) {
    RegisterHandlerDelegate(getPasswordInfoFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetPasswordInfo(request); }));
    RegisterHandlerDelegate(changeCurrentUserPasswordFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return ChangeCurrentUserPassword(request); }));
}

UmInfoHandler::~UmInfoHandler() = default;

bool UmInfoHandler::IsAvailable() const { return BaseServicesAvailable(); }

bool UmInfoHandler::HasPermissions(const SecurityToken& token) const {
    return HasPermissionOnObject(token, umInfoPermissionsName);
}

void UmInfoHandler::SubscribeServices() { SubscribeBaseServices(); }

UmInfoHandler::WbmResponse UmInfoHandler::GetPasswordInfo(const WbmRequest& request) const {
    rapidjson::Document document;
    document.SetObject();
    rapidjson::Value result;

    UserPasswordInfo info;  // a new record is all zero and empty: state Valid (0), no time, no name
    const bool found = userManagementService->GetPasswordInfoBySecurityToken(request.GetSecurityToken(), info);
    if (found) {
        Config::PasswordInfo passwordInfo;
        passwordInfo.Assign(info);
        passwordInfo.ToJson(document, result);
    }
    return JsonHelper::BuildJsonResponse(document, !found, String(), result);
}

UmInfoHandler::WbmResponse UmInfoHandler::ChangeCurrentUserPassword(const WbmRequest& request) const {
    const RequestQuery& query = request.GetRequestParams().GetQuery();
    String currentPassword;
    String newPassword;
    String confirmNewPassword;
    String errorText;
    bool changed = false;

    // The parameters are read first, in this order, before the session is looked at.
    const bool complete = query.TryGetParameterValue("currentPassword", currentPassword, true) &&
                          query.TryGetParameterValue("newPassword", newPassword, true) &&
                          query.TryGetParameterValue("confirmNewPassword", confirmNewPassword, true);
    UserPasswordInfo info;
    if (!complete) {
        LogError("Failed to change password of current user. Invalid Request");
        errorText = "InvalidRequest";
    } else if (!userManagementService->GetPasswordInfoBySecurityToken(request.GetSecurityToken(), info)) {
        LogError("Failed to change password of current user. Invalid Session");
        errorText = "Invalid Session";
    } else if (newPassword != confirmNewPassword) {
        LogError("Failed to change password of current user. Passwords Mismatch!");
        errorText = "Passwords don't match!";
    } else {
        PasswordBuffer current;
        PasswordBuffer replacement;
        CopyPassword(currentPassword, current);
        CopyPassword(newPassword, replacement);
        changed = userManagementService->ChangeUserPassword(info.userName, current, replacement);
        if (!changed) {
            LogError("Failed to change password of current user. Invalid Credentials");
            errorText = userManagementService->GetLastErrorText().ToString();
        }
    }

    // Unlike the module's other answers, this one is the platform's own JSON response.
    const JsonResponse response(errorText, std::make_shared<BooleanResult>(changed), booleanResponseKind);
    return WbmResponse(ResponseHeader(ContentType::Text, ContentSubtype::Json, CharsetType::Utf8),
                       response.ToJsonString());
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
