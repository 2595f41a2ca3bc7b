#pragma once
#include "Kyr/PlatformServices/PlatformServices.h"
#include "Kyr/System/Nm/Notifications.h"

namespace Kyr::WbmHost {

// The line a security notification leaves in the security log and the host log: time, name,
// sender, message and the info entries, on one line, with password values hidden.
Kyr::String FormatSecurityNotification(const Kyr::System::Nm::Notification& notification);

// Subscribes to the notification manager for the lifetime of this object: every notification that
// carries a security payload (the module's invalid requests) becomes an audit record ("request.invalid")
// and a line in the host log.
class SecurityNotificationLog {
public:
    SecurityNotificationLog(Kyr::System::Nm::NotificationManager& manager,
                            Kyr::PlatformServices::PlatformServices& services);
    ~SecurityNotificationLog();
    SecurityNotificationLog(const SecurityNotificationLog&) = delete;
    SecurityNotificationLog& operator=(const SecurityNotificationLog&) = delete;

private:
    Kyr::System::Nm::NotificationManager& manager;
    Kyr::System::Nm::NotificationManager::SubscriptionId subscription;
};

} // namespace Kyr::WbmHost
