#pragma once
#include <memory>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "SystemUseNotificationDp": the text shown to users before they log in. Keeps the
// platform's default permission rule.
class SystemUseNotificationHandler : public Kyr::Services::Commons::Wbm::Modules::WbmRequestHandlerBase,
                                     public Kyr::System::Commons::Logging::Loggable<SystemUseNotificationHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    SystemUseNotificationHandler();
    ~SystemUseNotificationHandler() override;

    bool IsAvailable() const override;

    // A service that is not published is logged and leaves the handler unavailable.
    void SubscribeServices();

private:
    std::shared_ptr<Kyr::System::Commons::Services::ISystemUseNotificationService> systemUseNotificationService;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
