#pragma once
#include <memory>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/Sanitization/Filters.h"
#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "SystemUseNotificationDp": the text shown to users before they log in. Keeps the
// platform's default permission rule.
class SystemUseNotificationHandler : public Kyr::Services::Commons::Wbm::Modules::WbmRequestHandlerBase,
                                     public Kyr::System::Commons::Logging::Loggable<SystemUseNotificationHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    static constexpr const char* getSystemUseNotificationFunctionName = "GetSystemUseNotification";
    static constexpr const char* setSystemUseNotificationFunctionName = "SetSystemUseNotification";

    SystemUseNotificationHandler();
    ~SystemUseNotificationHandler() override;

    bool IsAvailable() const override;

    // A service that is not published is logged and leaves the handler unavailable.
    void SubscribeServices();

    // The stored text, entity-encoded, cut at every CR and every LF (empty lines kept), as
    // {"SystemUseNotification":[lines]}. A read failure answers only the bare code as error text.
    WbmResponse GetNotification(const WbmRequest& request) const;
    // Body SystemUseNotification=<text>: everything after the first key is stored byte for byte.
    WbmResponse SetNotification(const WbmRequest& request) const;

    // The encoder of the outgoing text (mode 1, encode), created on first use and shared by all
    // threads; filters are stateless.
    static const Kyr::System::Commons::Sanitization::XmlHtmlEntitiesCoder& htmlEntiesEncoder();

private:
    std::shared_ptr<Kyr::System::Commons::Services::ISystemUseNotificationService> systemUseNotificationService;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
