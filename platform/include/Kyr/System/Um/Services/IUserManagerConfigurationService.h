#pragma once
#include <vector>

#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/IRscService.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::System::Um::Services {

using Kyr::System::Rsc::RscString;

// Password rulesets, block list, session policy and the LDAP configuration. Every setter validates
// and stores nothing when it answers an error.
class KYR_API IUserManagerConfigurationService : public Kyr::System::Rsc::IRscService {
public:
    ~IUserManagerConfigurationService() override;

    virtual UserManagerConfigError GetActiveAdminRoleRuleset(Internal::Roleruleset& ruleset) = 0;
    virtual UserManagerConfigError GetActiveDefaultRoleRuleset(Internal::Roleruleset& ruleset) = 0;
    virtual UserManagerConfigError SetAdminRoleRuleset(const Internal::Roleruleset& ruleset) = 0;
    virtual UserManagerConfigError SetDefaultRoleRuleset(const Internal::Roleruleset& ruleset) = 0;

    virtual UserManagerConfigError GetActivePasswordsBlockList(std::vector<RscString<128>>& blockList) = 0;
    virtual UserManagerConfigError SetActivePasswordsBlockList(const std::vector<RscString<128>>& blockList) = 0;

    virtual UserManagerConfigError GetSessionPolicyParameter(Internal::SessionPolicyParameter& parameter) = 0;
    virtual UserManagerConfigError SetSessionPolicyParameter(const Internal::SessionPolicyParameter& parameter) = 0;

    virtual UserManagerConfigError EnableLdapConfiguration(bool enable) = 0;
    virtual bool IsLdapConfigurationEnabled() = 0;
    // Takes a complete configuration from the file at `path` (copied; the file may go afterwards).
    virtual UserManagerConfigError SetLdapConfigurationFromFile(const RscString<256>& path, bool merge) = 0;
    // The path of a file holding the current configuration.
    virtual UserManagerConfigError GetLdapConfigurationFilePath(RscString<256>& path) = 0;
};

class KYR_API UserManagerConfigurationServiceProxyFactory : public Kyr::System::Rsc::IRscServiceProxyFactory {
public:
    static UserManagerConfigurationServiceProxyFactory& GetInstance();
    const char* GetServiceName() const override; // "Kyr.System.Um.UserManagerConfigurationService"
};

} // namespace Kyr::System::Um::Services
