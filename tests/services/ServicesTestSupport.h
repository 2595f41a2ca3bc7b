#pragma once
// A PlatformServices over a temporary data directory, with the cheapest password hashing, a
// settable clock and a session table the test fills.
#include <gtest/gtest.h>
#include <sodium.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>

#include "Kyr/Device/Interface/IDeviceControlService.h"
#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/Services/SecurityStoreManager/ITrustStoreManagementService.h"
#include "Kyr/System/Acf/IAuthorizationService.h"
#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"
#include "Kyr/System/Rsc/ServiceManager.h"
#include "Kyr/System/Um/Services/IUserManagementService.h"
#include "Kyr/System/Um/Services/IUserManagerConfigurationService.h"
#include "fakes/TempDir.h"

namespace Kyr::Testing {

namespace Ps = Kyr::PlatformServices;
namespace Um = Kyr::System::Um::Services;
using Kyr::System::Rsc::ServiceManager;

class TableSessions : public Ps::SessionDirectory {
public:
    std::optional<String> FindUserOfSession(const String& sessionId) const override {
        auto found = sessions.find(sessionId);
        return found == sessions.end() ? std::nullopt : std::optional<String>(found->second);
    }
    void EndSessionsOfUser(const String& userName, const char*) override {
        for (auto it = sessions.begin(); it != sessions.end();) it = it->second == userName ? sessions.erase(it) : std::next(it);
    }
    std::map<String, String> sessions;
};

struct ServicesTest : ::testing::Test {
    static constexpr const char* AdminPassword = "Initial-Admin-1";

    ServicesTest() { Open(); }
    ~ServicesTest() override {
        services.reset();
        ServiceManager::Clear();
    }

    void Open(bool authenticationDeactivatable = false) {
        if (services) services.reset();
        Ps::ServicesOptions options;
        options.dataDirectory = directory;
        options.hashOpsLimit = hashOpsLimit;
        options.hashMemLimit = crypto_pwhash_MEMLIMIT_MIN;
        options.authenticationDeactivatable = authenticationDeactivatable;
        options.initialAdminPassword = AdminPassword;
        options.clock = [now = now] { return *now; };
        options.audit = audit;
        services = Ps::PlatformServices::Open(options, sessions, [this] { ++restarts; });
        services->RegisterServices();
    }

    void Advance(std::chrono::seconds by) { *now += by; }

    std::shared_ptr<Um::IUserManagementService> Users() {
        return ServiceManager::GetService<Um::IUserManagementService, Um::UserManagementServiceProxyFactory>();
    }
    std::shared_ptr<Um::IUserManagerConfigurationService> Config() {
        return ServiceManager::GetService<Um::IUserManagerConfigurationService,
                                          Um::UserManagerConfigurationServiceProxyFactory>();
    }
    std::shared_ptr<Kyr::System::Acf::Services::IAuthorizationService> Authorization() {
        namespace Acf = Kyr::System::Acf::Services;
        return ServiceManager::GetService<Acf::IAuthorizationService, Acf::AuthorizationServiceProxyFactory>();
    }

    // Sets one field of a ruleset through the configuration service.
    template <class Change>
    void ChangeDefaultRuleset(Change&& change) {
        Um::Internal::Roleruleset ruleset;
        ASSERT_EQ(Config()->GetActiveDefaultRoleRuleset(ruleset), Um::UserManagerConfigError::NoError);
        change(ruleset);
        ASSERT_EQ(Config()->SetDefaultRoleRuleset(ruleset), Um::UserManagerConfigError::NoError);
    }

    std::string LastError() { return Users()->GetLastErrorText().ToString(); }

    TempDir temp;
    const std::string directory = (temp.Path() / "data").string(); // made by the services themselves
    std::shared_ptr<std::chrono::system_clock::time_point> now =
        std::make_shared<std::chrono::system_clock::time_point>(std::chrono::system_clock::from_time_t(1'800'000'000));
    unsigned long long hashOpsLimit = crypto_pwhash_OPSLIMIT_MIN;
    TableSessions sessions;
    Ps::AuditOptions audit; // taken by Open
    int restarts = 0;
    std::unique_ptr<Ps::PlatformServices> services;
};

} // namespace Kyr::Testing
