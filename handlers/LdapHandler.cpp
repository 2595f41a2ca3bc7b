#include "handlers/LdapHandler.h"

#include <boost/regex.hpp>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Io/File.h"
#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Commons/Sanitization/Filters.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::Services::Commons::Wbm::Messages::CharsetType;
using Kyr::Services::Commons::Wbm::Messages::ContentSubtype;
using Kyr::Services::Commons::Wbm::Messages::ContentType;
using Kyr::Services::Commons::Wbm::Messages::ResponseHeader;
using Kyr::System::Commons::SafeFormat;
using Kyr::System::Commons::Io::File;
using Kyr::System::Commons::Sanitization::CharactersEscaper;
using Kyr::System::Rsc::RscString;
using Kyr::System::Um::Services::UserManagerConfigError;

namespace {

using PathBuffer = RscString<256>;

// The handler's own failure codes travel in the same variable as the service's codes.
constexpr auto writeFailedCode = static_cast<UserManagerConfigError>(4);
constexpr auto invalidRequestCode = static_cast<UserManagerConfigError>(7);

constexpr const char* errorElementTemplate = "<Error code=\"{0}\" text=\"{1}\" />";

const CharactersEscaper& LdapEscaper() {
    static const CharactersEscaper escaper("Ldap Config Characters escaper", "\\", "\\");
    return escaper;
}

const boost::regex& EnableExpression() {
    static const boost::regex expression("(?:EnableLdap=)(true|false)");
    return expression;
}

ResponseHeader PlainTextHeader() { return ResponseHeader(ContentType::Text, ContentSubtype::Plain, CharsetType::Utf8); }

// A symbolic link is removed too, even one pointing nowhere: the upload must never be written
// through a link that someone else left in the shared temporary folder.
void DeleteTempFileIfPresent(const String& path) {
    std::error_code ignored;
    if (File::Exists(path) || std::filesystem::is_symlink(std::filesystem::symlink_status(path, ignored)))
        File::Delete(path);
}

} // namespace

// Changes device configuration, hence a configuration provider.
LdapHandler::LdapHandler() : UmWbmHandlerBase(true) {
    RegisterHandlerDelegate(setLdapConfigurationFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetLdapConfiguration(request); }));
    RegisterHandlerDelegate(getLdapConfigurationFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetLdapConfiguration(request); }));
    RegisterHandlerDelegate(setLdapConfigurationEnabledFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetLdapConfigurationEnabled(request); }));
    RegisterHandlerDelegate(isLdapConfigurationEnabledFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return IsLdapConfigurationEnabled(request); }));
    RegisterHandlerDelegate(listTrustStoresNamesFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return ListTrustStoresNames(request); }));
}

LdapHandler::~LdapHandler() = default;

bool LdapHandler::IsAvailable() const { return ldapEnabled && BaseServicesAvailable(); }

bool LdapHandler::HasPermissions(const SecurityToken& token) const {
    return HasPermissionOnObject(token, umConfigPermissionsName);
}

void LdapHandler::SubscribeServices() { SubscribeBaseServices(); }

LdapHandler::WbmResponse LdapHandler::BuildJsonResponse(rapidjson::Document& document, bool error,
                                                        const String& errorText, rapidjson::Value& result) {
    return JsonHelper::BuildJsonResponse(document, error, errorText, result);
}

LdapHandler::WbmResponse LdapHandler::SetLdapConfiguration(const WbmRequest& request) const {
    rapidjson::Document document;
    document.SetObject();
    String errorText;
    UserManagerConfigError code = UserManagerConfigError::NoError;

    // A leftover of an earlier upload must never reach the service.
    DeleteTempFileIfPresent(tempFilePath);
    try {
        const String body = request.GetRequestData().GetDataString(true);
        const std::vector<std::uint8_t> bytes(body.begin(), body.end());
        LogInfo("Receiving LDAP config file data...");
        File::WriteAll(tempFilePath, bytes);
        LogInfo("LDAP config file received successfully");

        // An over-long path throws ArgumentException here, answered like a failed write.
        const PathBuffer path(tempFilePath);
        code = userManagerConfigurationService->SetLdapConfigurationFromFile(path, false);
        if (code != UserManagerConfigError::NoError) {
            errorText = "Failed to set LDAP configuration";
            LogError("{0} with error code {1}", errorText, code);
        }
    } catch (...) {
        errorText = "An exception has occurred while writing LDAP configs to file";
        LogError("{0}", errorText);
        code = writeFailedCode;
    }
    DeleteTempFileIfPresent(tempFilePath);

    const String codeText = SafeFormat("{0}", code);
    rapidjson::Value result(codeText.data(), static_cast<rapidjson::SizeType>(codeText.size()), document.GetAllocator());
    return BuildJsonResponse(document, code != UserManagerConfigError::NoError, errorText, result);
}

LdapHandler::WbmResponse LdapHandler::GetLdapConfiguration(const WbmRequest&) const {
    const CharactersEscaper& escaper = LdapEscaper();
    PathBuffer path;
    const UserManagerConfigError code = userManagerConfigurationService->GetLdapConfigurationFilePath(path);
    if (code != UserManagerConfigError::NoError) {
        const String message = SafeFormat("Failed to get LDAP configuration with error code {0}", code);
        LogError("{0}", message);
        return WbmResponse(PlainTextHeader(), SafeFormat(errorElementTemplate, code, message));
    }

    const String filePath = path.ToString();
    String text;
    try {
        const std::vector<std::uint8_t> bytes = File::ReadAll(filePath);
        text.assign(bytes.begin(), bytes.end());
    } catch (...) {
        const String message = SafeFormat("An exception has occurred while reading LDAP config file with path {0}", filePath);
        LogError("{0}", message);
        return WbmResponse(PlainTextHeader(), SafeFormat(errorElementTemplate, code, message));
    }
    return WbmResponse(PlainTextHeader(), escaper.Filter(text));
}

LdapHandler::WbmResponse LdapHandler::SetLdapConfigurationEnabled(const WbmRequest& request) const {
    String errorText;
    UserManagerConfigError code = UserManagerConfigError::NoError;

    const String body = request.GetRequestData().GetDataString(true);
    boost::smatch match;
    if (!boost::regex_search(body, match, EnableExpression())) {
        code = invalidRequestCode;
        errorText = "Setting LDAP config enabled: Invalid Request";
        LogError("{0}", errorText);
    } else {
        code = userManagerConfigurationService->EnableLdapConfiguration(match[1] == "true");
        if (code != UserManagerConfigError::NoError) {
            errorText = SafeFormat("Setting LDAP enabling status failed with error code {0}", code);
            LogError("{0}", errorText);
        }
    }
    return JsonHelper::BuildQuotedResultResponse(SafeFormat("{0}", code), errorText,
                                                 code != UserManagerConfigError::NoError);
}

LdapHandler::WbmResponse LdapHandler::IsLdapConfigurationEnabled(const WbmRequest&) const {
    const bool enabled = userManagerConfigurationService->IsLdapConfigurationEnabled();
    return JsonHelper::BuildUnquotedResultResponse(enabled ? "true" : "false", String(), false);
}

LdapHandler::WbmResponse LdapHandler::ListTrustStoresNames(const WbmRequest&) const {
    rapidjson::Document document;
    document.SetObject();
    auto& allocator = document.GetAllocator();
    rapidjson::Value names(rapidjson::kArrayType);
    for (const auto& name : trustStoreManagementService->GetTrustStoreNames())
        names.PushBack(rapidjson::Value(name.c_str(), static_cast<rapidjson::SizeType>(name.GetLength()), allocator),
                       allocator);
    return BuildJsonResponse(document, false, String(), names);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
