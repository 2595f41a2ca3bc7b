#include <exception>
#include <map>
#include <mutex>
#include <utility>

#include "Kyr/System/Commons/Logging/Loggable.h"
#include "Kyr/System/Nm/Notifications.h"

namespace Kyr::System::Nm {

INotificationPayload::~INotificationPayload() = default;
INotificationSending::~INotificationSending() = default;

namespace {
struct RegisteredNotification {
    String name;
    String senderName;
    Severity severity;
};
} // namespace

struct NotificationManager::State {
    mutable std::mutex mutex;
    NotificationNameId nextNameId = 1;
    SubscriptionId nextSubscriptionId = 1;
    std::map<NotificationNameId, RegisteredNotification> notifications;
    std::map<SubscriptionId, std::shared_ptr<const Subscriber>> subscribers;
};

NotificationManager::NotificationManager() : state(std::make_unique<State>()) {}
NotificationManager::~NotificationManager() = default;

NotificationNameId NotificationManager::RegisterNotification(const String& name, const String& senderName, Severity severity) {
    if (name.empty()) return 0;
    std::lock_guard<std::mutex> lock(state->mutex);
    for (const auto& entry : state->notifications)
        if (entry.second.name == name) return 0;
    const NotificationNameId id = state->nextNameId++;
    state->notifications.emplace(id, RegisteredNotification{name, senderName, severity});
    return id;
}

void NotificationManager::UnregisterNotification(NotificationNameId id) {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->notifications.erase(id);
}

void NotificationManager::Send(NotificationNameId id, const Kyr::System::Commons::DateTime& timeStamp,
                               std::shared_ptr<const INotificationPayload> payload) {
    Notification notification;
    std::vector<std::shared_ptr<const Subscriber>> receivers;
    {
        std::lock_guard<std::mutex> lock(state->mutex);
        auto found = state->notifications.find(id);
        if (found == state->notifications.end()) return; // unknown or unregistered: nothing to deliver
        notification.name = found->second.name;
        notification.senderName = found->second.senderName;
        notification.severity = found->second.severity;
        for (const auto& entry : state->subscribers) receivers.push_back(entry.second);
    }
    notification.timeStamp = timeStamp;
    notification.payload = std::move(payload);
    // Delivered outside the lock, so that a subscriber may send or subscribe itself. Sending is
    // best-effort: a failing subscriber neither reaches the sender nor keeps the others from it.
    using Log = Kyr::System::Commons::Logging::Loggable<NotificationManager>;
    for (const auto& receiver : receivers) {
        try {
            (*receiver)(notification);
        } catch (const std::exception& error) {
            Log::LogError("Subscriber failed on notification {0}: {1}", notification.name, error.what());
        } catch (...) {
            Log::LogError("Subscriber failed on notification {0}", notification.name);
        }
    }
}

bool NotificationManager::IsRegistered(const String& name) const {
    std::lock_guard<std::mutex> lock(state->mutex);
    for (const auto& entry : state->notifications)
        if (entry.second.name == name) return true;
    return false;
}

NotificationManager::SubscriptionId NotificationManager::Subscribe(Subscriber subscriber) {
    auto shared = std::make_shared<const Subscriber>(std::move(subscriber));
    std::lock_guard<std::mutex> lock(state->mutex);
    const SubscriptionId id = state->nextSubscriptionId++;
    state->subscribers.emplace(id, std::move(shared));
    return id;
}

void NotificationManager::Unsubscribe(SubscriptionId id) {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->subscribers.erase(id);
}

} // namespace Kyr::System::Nm
