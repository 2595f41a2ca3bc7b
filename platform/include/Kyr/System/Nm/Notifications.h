#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/DateTime.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Nm {

enum class Severity : int { Emergency = 0, Alert = 1, Critical = 2, Error = 3, Warning = 4, Notice = 5, Info = 6, Debug = 7 };

using NotificationNameId = std::uint32_t; // 0: none

class KYR_API INotificationPayload {
public:
    virtual ~INotificationPayload();
};

// One delivered notification, as a subscriber sees it.
struct KYR_API Notification {
    String name;
    String senderName;
    Severity severity = Severity::Info;
    Kyr::System::Commons::DateTime timeStamp;
    std::shared_ptr<const INotificationPayload> payload;
};

// The side of the notification manager that senders use.
class KYR_API INotificationSending {
public:
    virtual ~INotificationSending();
    // Registers a notification name; 0 when refused (an empty or already registered name).
    virtual NotificationNameId RegisterNotification(const String& name, const String& senderName, Severity severity) = 0;
    virtual void UnregisterNotification(NotificationNameId id) = 0;
    virtual void Send(NotificationNameId id, const Kyr::System::Commons::DateTime& timeStamp,
                      std::shared_ptr<const INotificationPayload> payload) = 0;
};

// Delivers every sent notification synchronously to every subscriber. Thread-safe. Send never
// throws for a subscriber's failure (logged at error level; the other subscribers still get it).
// The host creates the process-wide one (Singleton<NotificationManager>).
class KYR_API NotificationManager : public INotificationSending {
public:
    using Subscriber = std::function<void(const Notification&)>;
    using SubscriptionId = std::uint32_t;

    NotificationManager();
    ~NotificationManager() override;
    NotificationNameId RegisterNotification(const String& name, const String& senderName, Severity severity) override;
    void UnregisterNotification(NotificationNameId id) override;
    void Send(NotificationNameId id, const Kyr::System::Commons::DateTime& timeStamp,
              std::shared_ptr<const INotificationPayload> payload) override;
    bool IsRegistered(const String& name) const;

    SubscriptionId Subscribe(Subscriber subscriber);
    void Unsubscribe(SubscriptionId id);

private:
    struct State;
    std::unique_ptr<State> state;
};

// Owns one registered notification of payload type T; unregisters it when disposed or destroyed.
// Move-only. A default-constructed registration is invalid (registered nowhere).
template <class TPayload>
class NotificationRegistration {
public:
    NotificationRegistration() = default;
    NotificationRegistration(const String& name, const String& senderName, Severity severity, INotificationSending& sending)
        : name(name), sending(&sending), id(sending.RegisterNotification(name, senderName, severity)) {
        if (id == 0) this->sending = nullptr;
    }
    NotificationRegistration(NotificationRegistration&& other) noexcept { *this = std::move(other); }
    // Replacing a valid registration unregisters it; as in the destructor, a failure to unregister
    // cannot leave a noexcept move and is dropped.
    NotificationRegistration& operator=(NotificationRegistration&& other) noexcept {
        if (this != &other) {
            try {
                Dispose();
            } catch (...) {
            }
            name = std::move(other.name);
            sending = other.sending;
            id = other.id;
            other.sending = nullptr;
            other.id = 0;
        }
        return *this;
    }
    NotificationRegistration(const NotificationRegistration&) = delete;
    NotificationRegistration& operator=(const NotificationRegistration&) = delete;
    ~NotificationRegistration() {
        try {
            Dispose();
        } catch (...) {
        }
    }

    bool IsValid() const noexcept { return sending != nullptr && id != 0; }
    const String& GetName() const noexcept { return name; }
    NotificationNameId GetNameId() const noexcept { return id; }

    void Send(NotificationNameId nameId, const Kyr::System::Commons::DateTime& timeStamp, const TPayload& payload) const {
        if (IsValid()) sending->Send(nameId, timeStamp, std::make_shared<TPayload>(payload));
    }
    // Unregisters the notification; may throw what the manager throws. Afterwards invalid.
    void Dispose() {
        if (!IsValid()) return;
        INotificationSending* owner = sending;
        NotificationNameId registered = id;
        sending = nullptr;
        id = 0;
        owner->UnregisterNotification(registered);
    }

private:
    String name;
    INotificationSending* sending = nullptr;
    NotificationNameId id = 0;
};

} // namespace Kyr::System::Nm
