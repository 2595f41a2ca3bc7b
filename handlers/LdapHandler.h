#pragma once
#include <rapidjson/document.h>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "handlers/UmWbmHandlerBase.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "LdapDp" and page "LdapConfiguration": the LDAP configuration file, the LDAP switch
// and the names of the trust stores.
class LdapHandler : public UmWbmHandlerBase,
                    public Kyr::Services::Commons::Wbm::Modules::WbmPageHandlerBase,
                    public Kyr::System::Commons::Logging::Loggable<LdapHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    LdapHandler();
    ~LdapHandler() override;

    // Answer for both the data provider and the page; false whenever LDAP is switched off in the
    // module settings, whatever the services.
    bool IsAvailable() const override;
    bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();
    // Copied from the module setting "ldapEnabled" during set-up, before the services are fetched.
    void SetLdapEnabled(bool enabled) noexcept { ldapEnabled = enabled; }

    // The module's JSON envelope (same bytes as JsonHelper::BuildJsonResponse).
    static WbmResponse BuildJsonResponse(rapidjson::Document& document, bool error, const String& errorText,
                                         rapidjson::Value& result);

private:
    bool ldapEnabled = true;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
