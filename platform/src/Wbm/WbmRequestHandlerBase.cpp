#include <utility>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Acf/IAuthorizationService.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Rsc/ServiceManager.h"

namespace Kyr::Services::Commons::Wbm::Modules {

namespace {
constexpr const char* configurationPermissionObject = "kyr.services.wbm/configuration";
constexpr const char* informationPermissionObject = "kyr.services.wbm/information";
constexpr std::uint32_t accessRight = 4096;
} // namespace

WbmRequestHandlerBase::WbmRequestHandlerBase(bool isConfigurationProvider) : isConfigurationProvider(isConfigurationProvider) {}
WbmRequestHandlerBase::~WbmRequestHandlerBase() = default;

WbmResponse WbmRequestHandlerBase::HandleRequest(const WbmRequest& request) {
    for (const auto& entry : delegates)
        if (entry.first == request.GetFunctionName()) return (*entry.second)(request);
    throw Kyr::System::Commons::InvalidOperationException(
        Kyr::System::Commons::SafeFormat("Unknown request function '{0}'", request.GetFunctionName()));
}

bool WbmRequestHandlerBase::IsAvailable() const { return true; }

bool WbmRequestHandlerBase::HasPermissions(const SecurityToken& token) const {
    // A provider that changes configuration is never open to a caller without a session.
    if (isConfigurationProvider && token.IsAnonymous()) return false;
    using Kyr::System::Acf::Services::AuthorizationServiceProxyFactory;
    using Kyr::System::Acf::Services::IAuthorizationService;
    auto authorization = Kyr::System::Rsc::ServiceManager::GetService<IAuthorizationService, AuthorizationServiceProxyFactory>();
    if (!authorization) return false;
    const Kyr::System::Rsc::RscString<512> objectName(isConfigurationProvider ? configurationPermissionObject : informationPermissionObject);
    return authorization->HasPermission(objectName, accessRight, token);
}

bool WbmRequestHandlerBase::HasRequestFunction(const String& functionName) const {
    for (const auto& entry : delegates)
        if (entry.first == functionName) return true;
    return false;
}

std::vector<String> WbmRequestHandlerBase::GetRequestFunctionNames() const {
    std::vector<String> names;
    names.reserve(delegates.size());
    for (const auto& entry : delegates) names.push_back(entry.first);
    return names;
}

void WbmRequestHandlerBase::RegisterHandlerDelegate(const String& functionName, std::shared_ptr<RequestDelegate> delegate) {
    if (!delegate || !*delegate)
        throw Kyr::System::Commons::ArgumentException::Create("delegate", functionName, "Invalid request delegate.");
    for (auto& entry : delegates) {
        if (entry.first == functionName) {
            entry.second = std::move(delegate);
            return;
        }
    }
    delegates.emplace_back(functionName, std::move(delegate));
}

WbmPageHandlerBase::~WbmPageHandlerBase() = default;

String WbmPageHandlerBase::GetVisibilityAttribute(const SecurityToken& token) const {
    return IsAvailable() && HasPermissions(token) ? "visible" : "hidden";
}

bool WbmPageHandlerBase::IsAvailable() const { return true; }

bool WbmPageHandlerBase::HasPermissions(const SecurityToken& /*token*/) const { return false; }

IWbmModuleHandler::~IWbmModuleHandler() = default;
IWbmModule::~IWbmModule() = default;
WbmModuleBase::~WbmModuleBase() = default;

} // namespace Kyr::Services::Commons::Wbm::Modules
