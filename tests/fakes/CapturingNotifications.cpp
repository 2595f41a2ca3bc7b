#include "fakes/CapturingNotifications.h"

#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/NmPayload/Security/SecurityNotificationPayload.h"

namespace Kyr::Testing {

using Kyr::System::Commons::Singleton;
using Kyr::System::Nm::NotificationManager;
using Kyr::System::NmPayload::Security::SecurityNotificationPayload;

namespace {
bool EnsureManager() {
    if (Singleton<NotificationManager>::IsCreated()) return false;
    Singleton<NotificationManager>::CreateInstance();
    return true;
}
} // namespace

String CapturedNotification::InfoValue(const String& key) const {
    for (const auto& entry : info)
        if (entry.first == key) return entry.second;
    return String();
}

CapturingNotifications::CapturingNotifications()
    : createdManager(EnsureManager()), manager(Singleton<NotificationManager>::GetInstance()), shared(std::make_shared<Shared>()) {
    std::weak_ptr<Shared> target = shared;
    subscription = manager.Subscribe([target](const Kyr::System::Nm::Notification& notification) {
        auto recorder = target.lock();
        if (!recorder) return;
        CapturedNotification captured;
        captured.name = notification.name;
        captured.senderName = notification.senderName;
        captured.severity = notification.severity;
        if (auto payload = std::dynamic_pointer_cast<const SecurityNotificationPayload>(notification.payload)) {
            captured.hasSecurityPayload = true;
            captured.message = payload->GetMessage();
            captured.info = payload->GetInfo().GetEntries();
        }
        std::lock_guard<std::mutex> lock(recorder->mutex);
        recorder->notifications.push_back(std::move(captured));
    });
}

CapturingNotifications::~CapturingNotifications() {
    // A test may have destroyed the manager itself; then there is nothing left to unsubscribe from.
    if (Singleton<NotificationManager>::TryGetInstance() != &manager) return;
    manager.Unsubscribe(subscription);
    if (createdManager) Singleton<NotificationManager>::DestroyInstance();
}

std::vector<CapturedNotification> CapturingNotifications::GetNotifications() const {
    std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->notifications;
}

void CapturingNotifications::Clear() {
    std::lock_guard<std::mutex> lock(shared->mutex);
    shared->notifications.clear();
}

} // namespace Kyr::Testing
