#pragma once
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Nm/Notifications.h"
#include "Kyr/System/NmPayload/Security/SecurityNotificationPayload.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Reports malformed requests to the platform's security monitoring as the notification
// "Security.Kyr.Services.Wbm.Um.InvalidRequest". One per process, reached through
// Singleton<SecurityNotifications>; the module creates it at set-up and destroys it at reset.
class SecurityNotifications : public Kyr::System::Commons::Logging::Loggable<SecurityNotifications> {
public:
    static constexpr const char* notificationSenderName = "WBM";
    static constexpr const char* invalidRequestNotificationName = "Security.Kyr.Services.Wbm.Um.InvalidRequest";

    // Registers the notification with Singleton<NotificationManager>; throws when there is none.
    SecurityNotifications();
    // Unregisters; failures are logged, never thrown.
    ~SecurityNotifications();
    SecurityNotifications(const SecurityNotifications&) = delete;
    SecurityNotifications& operator=(const SecurityNotifications&) = delete;

    // Best effort: skipped when the notification could not be registered.
    // `function` names the request function or the form the data should have had.
    void SendUserManagerInvalidRequest(const String& request, const String& function) const;

private:
    using Registration =
        Kyr::System::Nm::NotificationRegistration<Kyr::System::NmPayload::Security::SecurityNotificationPayload>;

    static void Dispose(Registration& registration) noexcept;

    Registration invalidRequest;
    // Slots for further security notifications of the module; unregistered for now.
    Registration reservedFirst;
    Registration reservedSecond;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
