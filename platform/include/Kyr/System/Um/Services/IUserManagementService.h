#pragma once
#include <vector>

#include "Kyr/System/Acf/SecurityToken.h"
#include "Kyr/System/Commons/RscString.h"
#include "Kyr/System/Rsc/IRscService.h"
#include "Kyr/System/Um/Services/UmStructs.h"

namespace Kyr::System::Um::Services {

using Kyr::System::Rsc::RscString;

// Users, roles and passwords. Operations answering bool fail with false; GetLastErrorText then
// tells why (per calling thread).
class KYR_API IUserManagementService : public Kyr::System::Rsc::IRscService {
public:
    ~IUserManagementService() override;

    virtual bool AddUser(const RscString<64>& userName, const RscString<128>& password) = 0;
    virtual bool RemoveUser(const RscString<64>& userName) = 0;
    virtual bool SetUserPassword(const RscString<64>& userName, const RscString<128>& newPassword) = 0;
    virtual bool ChangeUserPassword(const RscString<64>& userName, const RscString<128>& currentPassword,
                                    const RscString<128>& newPassword) = 0;
    virtual RscString<128> GetLastErrorText() = 0;

    virtual std::vector<RscString<64>> GetUsers() = 0;
    virtual bool HasAdminRuleset(const RscString<64>& userName) = 0;
    virtual bool SetAdminRuleset(const RscString<64>& userName, bool hasAdminRuleset) = 0;
    virtual std::vector<RscString<64>> GetUserRoles(const RscString<64>& userName) = 0;
    virtual std::vector<RscString<64>> GetAllRoles() = 0;
    virtual bool SetUserRoles(const RscString<64>& userName, const std::vector<RscString<64>>& roles) = 0;
    virtual bool GetAllUsersPasswordInfo(std::vector<Internal::UserPasswordInfo>& infos) = 0;
    virtual bool GetPasswordInfoBySecurityToken(const Kyr::System::Acf::SecurityToken& token,
                                                Internal::UserPasswordInfo& info) = 0;

    virtual bool GetAuthenticationRequired() = 0;
    virtual bool GetAuthenticationDeactivatable() = 0;
    virtual bool SetAuthenticationRequired(bool required) = 0;
};

class KYR_API UserManagementServiceProxyFactory : public Kyr::System::Rsc::IRscServiceProxyFactory {
public:
    static UserManagementServiceProxyFactory& GetInstance();
    const char* GetServiceName() const override; // "Kyr.System.Um.UserManagementService"
};

} // namespace Kyr::System::Um::Services
