#pragma once
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "handlers/UmWbmHandlerBase.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "UserManagementDp" and page "UserManager": the administrator's side of user
// management (users, roles, password and session policies, authentication switch, restart).
class UmHandler : public UmWbmHandlerBase,
                  public Kyr::Services::Commons::Wbm::Modules::WbmPageHandlerBase,
                  public Kyr::System::Commons::Logging::Loggable<UmHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    UmHandler();
    ~UmHandler() override;

    // Answer for both the data provider and the page.
    bool IsAvailable() const override;
    bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();
    // Takes the policy backups; called once by the module's set-up after the services are there.
    void InitializeBackups();

    // ---- User administration ------------------------------------------------------------------

    // ---- Password and session policies --------------------------------------------------------
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
