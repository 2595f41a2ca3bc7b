#include "audit/SecurityNotificationLog.h"

#include "app/HostLoggers.h"
#include "audit/AuditMasking.h"
#include "audit/LogText.h"
#include "Kyr/PlatformServices/AuditEvents.h"
#include "Kyr/System/NmPayload/Security/SecurityNotificationPayload.h"

namespace Kyr::WbmHost {

using Kyr::System::NmPayload::Security::SecurityNotificationPayload;

Kyr::String FormatSecurityNotification(const Kyr::System::Nm::Notification& notification) {
    Kyr::String line = notification.timeStamp.ToIso8601() + " " + OneLine(notification.name, 256) +
                       " sender=" + OneLine(notification.senderName, 256) +
                       " severity=" + std::to_string(static_cast<int>(notification.severity));
    if (auto payload = std::dynamic_pointer_cast<const SecurityNotificationPayload>(notification.payload)) {
        line += " message=\"" + OneLine(RedactPasswords(payload->GetMessage()), 2048) + "\"";
        for (const auto& [key, value] : payload->GetInfo().GetEntries())
            line += " " + OneLine(key, 256) + "=\"" + OneLine(RedactPasswords(value), 2048) + "\"";
    }
    return line;
}

namespace {
// The module's security notifications report invalid requests: one audit record each, the
// notification's name and message (passwords masked) as its detail, the function as its target.
Kyr::PlatformServices::AuditRecord InvalidRequestRecord(const Kyr::System::Nm::Notification& notification,
                                                        const SecurityNotificationPayload& payload) {
    Kyr::PlatformServices::AuditRecord record;
    record.eventId = Kyr::PlatformServices::AuditEvents::InvalidRequest;
    record.outcome = Kyr::PlatformServices::AuditOutcome::Failure;
    record.detail = Audit::MaskAuditDetail(notification.name + ": " + payload.GetMessage());
    for (const auto& [key, value] : payload.GetInfo().GetEntries())
        if (key == "function") record.target = Audit::MaskAuditDetail(value, {}, 256);
    return record;
}
} // namespace

SecurityNotificationLog::SecurityNotificationLog(Kyr::System::Nm::NotificationManager& manager,
                                                 Kyr::PlatformServices::PlatformServices& services)
    : manager(manager) {
    subscription = manager.Subscribe([&services](const Kyr::System::Nm::Notification& notification) {
        auto payload = std::dynamic_pointer_cast<const SecurityNotificationPayload>(notification.payload);
        if (!payload) return;
        const Kyr::String line = FormatSecurityNotification(notification);
        SecurityLog::Log(static_cast<int>(Kyr::System::Commons::Logging::LogLevel::Warning), "{0}", line);
        try {
            services.RecordAudit(InvalidRequestRecord(notification, *payload));
        } catch (const std::exception& error) {
            SecurityLog::LogError("Cannot append to the security log: {0}", error.what());
        }
    });
}

SecurityNotificationLog::~SecurityNotificationLog() { manager.Unsubscribe(subscription); }

} // namespace Kyr::WbmHost
