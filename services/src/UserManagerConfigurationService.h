#pragma once
#include <memory>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Um/Services/IUserManagerConfigurationService.h"
#include "ServiceContext.h"

namespace Kyr::PlatformServices {

namespace Um = Kyr::System::Um::Services;

// Rulesets, block list and session policy in the database; the LDAP configuration as a file in the
// data directory. Every setter validates first and stores nothing when it answers an error.
class UserManagerConfigurationService final
    : public Um::IUserManagerConfigurationService,
      private Kyr::System::Commons::Logging::Loggable<UserManagerConfigurationService> {
public:
    explicit UserManagerConfigurationService(std::shared_ptr<ServiceContext> context);

    Um::UserManagerConfigError GetActiveAdminRoleRuleset(Um::Internal::Roleruleset& ruleset) override;
    Um::UserManagerConfigError GetActiveDefaultRoleRuleset(Um::Internal::Roleruleset& ruleset) override;
    Um::UserManagerConfigError SetAdminRoleRuleset(const Um::Internal::Roleruleset& ruleset) override;
    Um::UserManagerConfigError SetDefaultRoleRuleset(const Um::Internal::Roleruleset& ruleset) override;

    Um::UserManagerConfigError GetActivePasswordsBlockList(std::vector<RscString<128>>& blockList) override;
    Um::UserManagerConfigError SetActivePasswordsBlockList(const std::vector<RscString<128>>& blockList) override;

    Um::UserManagerConfigError GetSessionPolicyParameter(Um::Internal::SessionPolicyParameter& parameter) override;
    Um::UserManagerConfigError SetSessionPolicyParameter(const Um::Internal::SessionPolicyParameter& parameter) override;

    Um::UserManagerConfigError EnableLdapConfiguration(bool enable) override;
    bool IsLdapConfigurationEnabled() override;
    Um::UserManagerConfigError SetLdapConfigurationFromFile(const RscString<256>& path, bool merge) override;
    Um::UserManagerConfigError GetLdapConfigurationFilePath(RscString<256>& path) override;

    // Why the calling thread's last SetLdapConfigurationFromFile refused the file; empty after success.
    static std::string GetLdapConfigurationErrorText();

private:
    template <class Operation>
    Um::UserManagerConfigError Guarded(const char* name, Operation&& operation);
    Um::UserManagerConfigError GetRuleset(const char* name, Um::Internal::Roleruleset& ruleset);
    Um::UserManagerConfigError SetRuleset(const char* name, const Um::Internal::Roleruleset& ruleset);

    std::shared_ptr<ServiceContext> context;
    Database& database;
};

} // namespace Kyr::PlatformServices
