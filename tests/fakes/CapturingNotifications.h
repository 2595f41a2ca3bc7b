#pragma once
// Subscribes to the process's NotificationManager (creating Singleton<NotificationManager> when it
// does not exist yet, and destroying it again only if it created it) and records every delivered
// notification with its security payload. Thread-safe.
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "Kyr/System/Nm/Notifications.h"

namespace Kyr::Testing {

struct CapturedNotification {
    String name;
    String senderName;
    Kyr::System::Nm::Severity severity = Kyr::System::Nm::Severity::Info;
    bool hasSecurityPayload = false;
    String message;                                  // of the SecurityNotificationPayload
    std::vector<std::pair<String, String>> info;     // its info entries, in order
    // The value of the first info entry with `key`, or "" when none.
    String InfoValue(const String& key) const;
};

class CapturingNotifications {
public:
    CapturingNotifications();
    ~CapturingNotifications();
    CapturingNotifications(const CapturingNotifications&) = delete;
    CapturingNotifications& operator=(const CapturingNotifications&) = delete;

    std::vector<CapturedNotification> GetNotifications() const;
    void Clear();
    Kyr::System::Nm::NotificationManager& GetManager() const noexcept { return manager; }

private:
    struct Shared {
        std::mutex mutex;
        std::vector<CapturedNotification> notifications;
    };
    bool createdManager;
    Kyr::System::Nm::NotificationManager& manager;
    std::shared_ptr<Shared> shared;
    Kyr::System::Nm::NotificationManager::SubscriptionId subscription;
};

} // namespace Kyr::Testing
