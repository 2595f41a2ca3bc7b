#include "handlers/SystemUseNotificationHandler.h"

#include <boost/algorithm/string/regex.hpp>
#include <boost/regex.hpp>

#include <cstdint>
#include <vector>

#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Rsc/ServiceManager.h"
#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::System::Commons::SafeFormat;
using Kyr::System::Commons::Io::FileSystemError;
using Kyr::System::Commons::Sanitization::StringFilter;
using Kyr::System::Commons::Sanitization::StringFilterKind;
using Kyr::System::Commons::Sanitization::XmlHtmlEntitiesCoder;
using Kyr::System::Commons::Sanitization::XmlHtmlEntitiesCoderMode;
using Kyr::System::Commons::Services::ISystemUseNotificationService;
using Kyr::System::Commons::Services::SystemUseNotificationServiceProxyFactory;

namespace {

// Every single CR and every single LF ends a line; a CR LF pair leaves an empty line between.
const boost::regex& LineBreakExpression() {
    static const boost::regex expression("(\r|\n)");
    return expression;
}

// Everything after the first "SystemUseNotification=", at least one byte, line breaks included.
// Same matches as "(?:SystemUseNotification=)((.|\n)+)", written as one character class so that a
// long text does not need one backtracking state per byte (that form runs out of stack at ~50 KB).
const boost::regex& SetExpression() {
    static const boost::regex expression("(?:SystemUseNotification=)([\\s\\S]+)");
    return expression;
}

} // namespace

const XmlHtmlEntitiesCoder& SystemUseNotificationHandler::htmlEntiesEncoder() {
    static const XmlHtmlEntitiesCoder encoder("System use notification encoder",
                                              static_cast<int>(XmlHtmlEntitiesCoderMode::Encode));
    return encoder;
}

SystemUseNotificationHandler::SystemUseNotificationHandler() : WbmRequestHandlerBase(true) {
    RegisterHandlerDelegate(getSystemUseNotificationFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return GetNotification(request); }));
    RegisterHandlerDelegate(setSystemUseNotificationFunctionName, std::make_shared<RequestDelegate>(
        [this](const WbmRequest& request) { return SetNotification(request); }));
}

SystemUseNotificationHandler::~SystemUseNotificationHandler() = default;

bool SystemUseNotificationHandler::IsAvailable() const { return systemUseNotificationService != nullptr; }

void SystemUseNotificationHandler::SubscribeServices() {
    systemUseNotificationService = Kyr::System::Rsc::ServiceManager::GetService<ISystemUseNotificationService,
                                                                                SystemUseNotificationServiceProxyFactory>();
    if (!systemUseNotificationService) LogError("Could not subscribe ISystemUseNotificationService!");
}

SystemUseNotificationHandler::WbmResponse SystemUseNotificationHandler::GetNotification(const WbmRequest&) const {
    String errorText;
    rapidjson::Document document;
    document.SetObject();
    rapidjson::Value result;

    std::vector<std::uint8_t> stored;
    const FileSystemError code = systemUseNotificationService->ReadNotification(stored);
    if (code != FileSystemError::Success) {
        errorText = SafeFormat("{0}", code);
        LogError("Failed to get System Use Notification stream. File System Error: {0}", code);
    } else {
        const String encoded = htmlEntiesEncoder().Filter(String(stored.begin(), stored.end()));
        std::vector<String> lines;
        boost::algorithm::split_regex(lines, encoded, LineBreakExpression());
        const rapidjson::Document linesDocument = JsonHelper::ToJsonArray(lines);
        result.CopyFrom(linesDocument, document.GetAllocator());
    }
    return JsonHelper::BuildJsonResponse(document, !errorText.empty(), errorText, result);
}

SystemUseNotificationHandler::WbmResponse SystemUseNotificationHandler::SetNotification(const WbmRequest& request) const {
    String errorText;
    const String body = request.GetRequestData().GetDataString(true);

    boost::smatch match;
    if (!boost::regex_search(body, match, SetExpression())) {
        errorText = "InvalidRequest";
        // Keeps the logged body on one log line.
        const StringFilter newLineFilter(StringFilterKind::NewLine, "WBM User Manager Authentication - New line filter");
        LogError("Failed to set System Use Notification. Invalid Request: \"{0}\"", newLineFilter.Filter(body));
    } else {
        const std::vector<std::uint8_t> notification(match[1].first, match[1].second);
        const FileSystemError code = systemUseNotificationService->WriteNotification(notification);
        if (code != FileSystemError::Success) {
            errorText = SafeFormat("{0}", code);
            LogError("Failed to set System Use Notification with error {0}", code);
        }
    }

    rapidjson::Document document;
    document.SetObject();
    rapidjson::Value result;
    return JsonHelper::BuildJsonResponse(document, !errorText.empty(), errorText, result);
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
