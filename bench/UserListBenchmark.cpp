// How the user list scales with the number of users: one answer must stay linear in the number of
// users (each user's password state is found by name, not by a scan over all users).
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "Kyr/System/Rsc/ServiceManager.h"
#include "Kyr/System/Um/Services/IUserManagementService.h"
#include "handlers/UmHandler.h"

namespace {

namespace UmServices = Kyr::System::Um::Services;
using Kyr::System::Rsc::RscString;
using Kyr::Services::Modules::Wbm::Um::Internal::UmHandler;

// A user directory of a given size, answering from memory.
class UserDirectory : public UmServices::IUserManagementService {
public:
    explicit UserDirectory(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) users.emplace_back("user" + std::to_string(i));
        // Password infos in reverse order, so that finding a user's info is not a lucky first hit.
        for (auto user = users.rbegin(); user != users.rend(); ++user) {
            UmServices::Internal::UserPasswordInfo info;
            info.userName = *user;
            info.timeToExpire = 86400;
            infos.push_back(info);
        }
    }

    std::vector<RscString<64>> GetUsers() override { return users; }
    bool HasAdminRuleset(const RscString<64>&) override { return false; }
    std::vector<RscString<64>> GetUserRoles(const RscString<64>&) override { return {"Operator", "Unauthenticated"}; }
    std::vector<RscString<64>> GetAllRoles() override { return {"Admin", "Operator", "Unauthenticated"}; }
    bool GetAllUsersPasswordInfo(std::vector<UmServices::Internal::UserPasswordInfo>& out) override {
        out = infos;
        return true;
    }

    bool AddUser(const RscString<64>&, const RscString<128>&) override { return false; }
    bool RemoveUser(const RscString<64>&) override { return false; }
    bool SetUserPassword(const RscString<64>&, const RscString<128>&) override { return false; }
    bool ChangeUserPassword(const RscString<64>&, const RscString<128>&, const RscString<128>&) override { return false; }
    RscString<128> GetLastErrorText() override { return RscString<128>(); }
    bool SetAdminRuleset(const RscString<64>&, bool) override { return false; }
    bool SetUserRoles(const RscString<64>&, const std::vector<RscString<64>>&) override { return false; }
    bool GetPasswordInfoBySecurityToken(const Kyr::System::Acf::SecurityToken&, UmServices::Internal::UserPasswordInfo&) override {
        return false;
    }
    bool GetAuthenticationRequired() override { return true; }
    bool GetAuthenticationDeactivatable() override { return false; }
    bool SetAuthenticationRequired(bool) override { return false; }

private:
    std::vector<RscString<64>> users;
    std::vector<UmServices::Internal::UserPasswordInfo> infos;
};

void GetUserManagementConfig(benchmark::State& state) {
    const auto serviceName = UmServices::UserManagementServiceProxyFactory::GetInstance().GetServiceName();
    Kyr::System::Rsc::ServiceManager::RegisterService(serviceName,
                                                      std::make_shared<UserDirectory>(static_cast<std::size_t>(state.range(0))));
    UmHandler handler;
    handler.SubscribeServices();
    const UmHandler::WbmRequest request("GetUserManagementConfig", {}, {}, {});
    for (auto _ : state) benchmark::DoNotOptimize(handler.GetUserManagementConfig(request));
    state.SetComplexityN(state.range(0));
    Kyr::System::Rsc::ServiceManager::Clear();
}
BENCHMARK(GetUserManagementConfig)->RangeMultiplier(4)->Range(16, 4096)->Complexity(benchmark::oN);

} // namespace

BENCHMARK_MAIN();
