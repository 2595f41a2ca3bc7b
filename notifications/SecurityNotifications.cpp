#include "notifications/SecurityNotifications.h"

#include <exception>

#include "Kyr/System/Commons/DateTime.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Singleton.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::System::Commons::Singleton;
using Kyr::System::Nm::NotificationManager;
using Kyr::System::NmPayload::Security::SecurityNotificationInfo;
using Kyr::System::NmPayload::Security::SecurityNotificationPayload;

SecurityNotifications::SecurityNotifications() {
    Kyr::System::Nm::INotificationSending& manager = Singleton<NotificationManager>::GetInstance();
    invalidRequest =
        Registration(invalidRequestNotificationName, notificationSenderName, Kyr::System::Nm::Severity::Error, manager);
}

SecurityNotifications::~SecurityNotifications() {
    Dispose(invalidRequest);
    Dispose(reservedFirst);
    Dispose(reservedSecond);
}

void SecurityNotifications::Dispose(Registration& registration) noexcept {
    const String& name = registration.GetName(); // kept by Dispose
    try {
        registration.Dispose();
    } catch (const std::exception& error) {
        LogError("Caught exception while unregistering notificationName={}: {}", name, error.what());
    } catch (...) {
        LogError("Caught exception while unregistering notificationName={}", name);
    }
}

void SecurityNotifications::SendUserManagerInvalidRequest(const String& request, const String& function) const {
    SecurityNotificationInfo info;
    info.AddInfo("request", request);
    info.AddInfo("function", function);
    String message =
        Kyr::System::Commons::SafeFormat("Invalid Request. Request: {0}, Function: {1}", request, function);
    const auto now = Kyr::System::Commons::DateTime::GetUtcNow();
    if (!invalidRequest.IsValid()) return;
    invalidRequest.Send(invalidRequest.GetNameId(), now, SecurityNotificationPayload(std::move(message), std::move(info)));
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
