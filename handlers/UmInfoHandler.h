#pragma once
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "handlers/UmWbmHandlerBase.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "UserManagementInfoDp": the logged-in user's own password information and change.
class UmInfoHandler : public UmWbmHandlerBase, public Kyr::System::Commons::Logging::Loggable<UmInfoHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    UmInfoHandler();
    ~UmInfoHandler() override;

    bool IsAvailable() const override;
    bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
