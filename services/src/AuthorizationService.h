#pragma once
#include <memory>

#include "Kyr/System/Acf/IAuthorizationService.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "ServiceContext.h"

namespace Kyr::PlatformServices {

// Permission decisions from the roles of the session's user (of a directory user: the roles its
// last login mapped):
//  - "Admin" holds every object with every right;
//  - every logged-in user holds the user's own information objects (PermissionsOfEveryUser);
//  - otherwise a role holds what the role-permission table grants it;
//  - a caller without a live session acts with the role "Unauthenticated", but only while
//    authentication is not required; otherwise it holds nothing.
class AuthorizationService final : public Kyr::System::Acf::Services::IAuthorizationService,
                                   private Kyr::System::Commons::Logging::Loggable<AuthorizationService> {
public:
    explicit AuthorizationService(std::shared_ptr<ServiceContext> context) : context(std::move(context)) {}

    bool HasPermission(const Kyr::System::Rsc::RscString<512>& objectName, std::uint32_t right,
                       const Kyr::System::Acf::SecurityToken& token) override;

private:
    bool HasPermissionChecked(const std::string& object, std::uint32_t right, const Kyr::System::Acf::SecurityToken& token);
    std::shared_ptr<ServiceContext> context;
};

} // namespace Kyr::PlatformServices
