#pragma once
#include <rapidjson/document.h>

#include <utility>

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

    // The one file through which an uploaded configuration reaches the service.
    // A build for a PC host may choose another folder (CMake cache variable KYR_LDAP_TEMP_FILE_PATH).
#ifdef KYR_LDAP_TEMP_FILE_PATH
    static constexpr const char* LdapTempFilePath = KYR_LDAP_TEMP_FILE_PATH;
#else
    static constexpr const char* LdapTempFilePath = "/var/tmp/ldap.config";
#endif

    static constexpr const char* setLdapConfigurationFunctionName = "SetLdapConfiguration";
    static constexpr const char* getLdapConfigurationFunctionName = "GetLdapConfiguration";
    static constexpr const char* setLdapConfigurationEnabledFunctionName = "SetLdapConfigurationEnabled";
    static constexpr const char* isLdapConfigurationEnabledFunctionName = "IsLdapConfigurationEnabled";
    static constexpr const char* listTrustStoresNamesFunctionName = "ListTrustStoresNames";

    LdapHandler();
    ~LdapHandler() override;

    // Answer for both the data provider and the page; false whenever LDAP is switched off in the
    // module settings, whatever the services.
    bool IsAvailable() const override;
    bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();
    // Copied from the module setting "ldapEnabled" during set-up, before the services are fetched.
    void SetLdapEnabled(bool enabled) noexcept { ldapEnabled = enabled; }
    // Points this handler's uploads at another file (tests, a development machine); set before any
    // request. Kept per handler so that no process-wide state changes.
    void SetTempFilePath(String path) { tempFilePath = std::move(path); }

    // The module's JSON envelope (same bytes as JsonHelper::BuildJsonResponse).
    static WbmResponse BuildJsonResponse(rapidjson::Document& document, bool error, const String& errorText,
                                         rapidjson::Value& result);

    // The request body is the whole configuration file; it goes to the service through the
    // temporary file, which is removed before and after. Result: the service's code as text.
    WbmResponse SetLdapConfiguration(const WbmRequest& request) const;
    // The current configuration file with every backslash doubled, as plain text; on failure an
    // XML element <Error code=".." text=".." />.
    WbmResponse GetLdapConfiguration(const WbmRequest& request) const;
    // Body with EnableLdap=true or EnableLdap=false (the first occurrence counts).
    WbmResponse SetLdapConfigurationEnabled(const WbmRequest& request) const;
    WbmResponse IsLdapConfigurationEnabled(const WbmRequest& request) const;
    WbmResponse ListTrustStoresNames(const WbmRequest& request) const;

private:
    bool ldapEnabled = true;
    String tempFilePath = LdapTempFilePath;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
