#include "handlers/LdapHandler.h"

#include "config/JsonHelper.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Changes device configuration, hence a configuration provider.
LdapHandler::LdapHandler() : UmWbmHandlerBase(true) {}

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

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
