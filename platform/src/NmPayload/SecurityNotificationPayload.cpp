#include "Kyr/System/NmPayload/Security/SecurityNotificationPayload.h"

#include <utility>

namespace Kyr::System::NmPayload::Security {

SecurityNotificationPayload::SecurityNotificationPayload(String message, SecurityNotificationInfo info)
    : message(std::move(message)), info(std::move(info)) {}

SecurityNotificationPayload::~SecurityNotificationPayload() = default;

} // namespace Kyr::System::NmPayload::Security
