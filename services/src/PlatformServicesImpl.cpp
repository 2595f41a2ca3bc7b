#include <algorithm>

#include "AtomicFile.h"
#include "AuditTrail.h"
#include "AuthorizationService.h"
#include "ConfigStore.h"
#include "DeviceControlService.h"
#include "DirectoryLogin.h"
#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Rsc/ServiceManager.h"
#include "Schema.h"
#include "SecondFactorService.h"
#include "SystemUseNotificationService.h"
#include "TrustStoreManagementService.h"
#include "UserManagementService.h"
#include "UserManagerConfigurationService.h"

namespace Kyr::PlatformServices {

using Kyr::System::Rsc::ServiceManager;

// Not in an anonymous namespace: its logger is named after the class.
class PlatformServicesImpl final : public PlatformServices,
                                   private Kyr::System::Commons::Logging::Loggable<PlatformServicesImpl> {
public:
    PlatformServicesImpl(const ServicesOptions& options, SessionDirectory& sessions, std::function<void()> restartRequest)
        : context(std::make_shared<ServiceContext>(options, sessions, restartRequest)),
          users(std::make_shared<UserManagementService>(context)),
          configuration(std::make_shared<UserManagerConfigurationService>(context)),
          authorization(std::make_shared<AuthorizationService>(context)),
          deviceControl(std::make_shared<DeviceControlService>(restartRequest)),
          trustStores(std::make_shared<TrustStoreManagementService>(context->paths.trustStores)),
          loginText(std::make_shared<SystemUseNotificationService>(context->paths.loginText)),
          audit(std::make_unique<AuditTrail>(*context)),
          directory(context),
          secondFactors(context) {
        if (CreateSchema(context->database)) LogInfo("New user database created in {0}", options.dataDirectory);
        secondFactors.Load();
        initialAdminPassword = users->CreateInitialAdministrator(options.initialAdminPassword);
    }

    ~PlatformServicesImpl() override { UnregisterServices(); }

    void RegisterServices() override {
        for (const auto& entry : Entries()) ServiceManager::RegisterService(entry.first, entry.second);
        registered = true;
    }

    void UnregisterServices() override {
        if (!registered) return;
        for (const auto& entry : Entries()) ServiceManager::UnregisterService(entry.first);
        registered = false;
    }

    std::optional<String> GetInitialAdminPassword() const override { return initialAdminPassword; }

    LoginCheck CheckLogin(const String& userName, const String& password) override {
        try {
            // Local users always win; the directory is asked only for other names, and only when on.
            if (users->IsLocalUser(userName) || !configuration->IsLdapConfigurationEnabled())
                return users->CheckLogin(userName, password);
            return directory.Login(userName, password);
        } catch (const std::exception& error) {
            LogError("Login check failed: {0}", error.what());
            return {};
        }
    }
    bool IsAdministrator(const String& userName) override { return users->IsAdministrator(userName); }
    bool IsPasswordChangeRequired(const String& userName) override { return users->IsPasswordChangeRequired(userName); }
    bool UserExists(const String& userName) override { return users->UserExists(userName); }
    bool IsDirectoryUser(const String& userName) override {
        return !users->IsLocalUser(userName) && context->directoryUsers.RolesOf(userName).has_value();
    }
    bool IsAuthenticationRequired() override { return users->GetAuthenticationRequired(); }

    Kyr::System::Um::Services::Internal::SessionPolicyParameter GetSessionPolicy() override {
        auto lock = context->database.Lock();
        return ConfigStore(context->database).LoadSessionPolicy();
    }

    bool RecordAudit(const AuditRecord& record) override { return audit->Record(record); }
    AuditPage QueryAudit(const AuditQuery& query) override { return audit->Query(query); }
    AuditStatus GetAuditStatus() override { return audit->Status(); }
    bool AuditBlocksChanges() override { return audit->BlocksChanges(); }

    DirectoryStatus GetDirectoryStatus() override {
        DirectoryStatus status = directory.Status();
        status.enabled = configuration->IsLdapConfigurationEnabled();
        return status;
    }

    DirectoryTestResult TestDirectoryConnection(const std::optional<String>& userName,
                                                const std::optional<String>& password) override {
        try {
            return directory.Test(userName, password);
        } catch (const std::exception& error) {
            LogError("Directory connection test failed: {0}", error.what());
            DirectoryTestResult result;
            result.steps.push_back({"connect", false, error.what()});
            return result;
        }
    }

    String GetLdapConfigurationErrorText() override {
        return UserManagerConfigurationService::GetLdapConfigurationErrorText();
    }

    SecondFactors& GetSecondFactors() override { return secondFactors; }


private:
    std::vector<std::pair<String, std::shared_ptr<Kyr::System::Rsc::IRscService>>> Entries() const {
        namespace Um = Kyr::System::Um::Services;
        return {
            {Um::UserManagementServiceProxyFactory::GetInstance().GetServiceName(), users},
            {Um::UserManagerConfigurationServiceProxyFactory::GetInstance().GetServiceName(), configuration},
            {Kyr::System::Acf::Services::AuthorizationServiceProxyFactory::GetInstance().GetServiceName(), authorization},
            {Kyr::Device::Interface::Services::DeviceControlServiceProxyFactory::GetInstance().GetServiceName(), deviceControl},
            {Kyr::Services::SecurityStoreManager::TrustStoreManagementServiceProxyFactory::GetInstance().GetServiceName(),
             trustStores},
            {Kyr::System::Commons::Services::SystemUseNotificationServiceProxyFactory::GetInstance().GetServiceName(),
             loginText},
        };
    }

    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<UserManagementService> users;
    std::shared_ptr<UserManagerConfigurationService> configuration;
    std::shared_ptr<AuthorizationService> authorization;
    std::shared_ptr<DeviceControlService> deviceControl;
    std::shared_ptr<TrustStoreManagementService> trustStores;
    std::shared_ptr<SystemUseNotificationService> loginText;
    std::unique_ptr<AuditTrail> audit;
    DirectoryLogin directory;
    SecondFactorService secondFactors;
    std::optional<String> initialAdminPassword;
    bool registered = false;
};

std::unique_ptr<PlatformServices> PlatformServices::Open(const ServicesOptions& options, SessionDirectory& sessions,
                                                         std::function<void()> restartRequest) {
    return std::make_unique<PlatformServicesImpl>(options, sessions, std::move(restartRequest));
}

} // namespace Kyr::PlatformServices
