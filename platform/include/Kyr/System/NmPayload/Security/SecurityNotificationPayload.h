#pragma once
#include <utility>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Nm/Notifications.h"

namespace Kyr::System::NmPayload::Security {

// Key/value details of a security notification, in the order they were added.
class KYR_API SecurityNotificationInfo {
public:
    void AddInfo(const String& key, const String& value) { entries.emplace_back(key, value); }
    const std::vector<std::pair<String, String>>& GetEntries() const noexcept { return entries; }

private:
    std::vector<std::pair<String, String>> entries;
};

class KYR_API SecurityNotificationPayload : public Kyr::System::Nm::INotificationPayload {
public:
    SecurityNotificationPayload(String message, SecurityNotificationInfo info);
    ~SecurityNotificationPayload() override;
    const String& GetMessage() const noexcept { return message; }
    const SecurityNotificationInfo& GetInfo() const noexcept { return info; }

private:
    String message;
    SecurityNotificationInfo info;
};

} // namespace Kyr::System::NmPayload::Security
