#include "AuditText.h"

#include <fmt/format.h>

#include <chrono>

#include "Kyr/System/Commons/DateTime.h"

namespace Kyr::PlatformServices {

namespace {

std::string QuotedLogValue(const std::string& value) {
    std::string quoted = "\"";
    for (unsigned char c : value) {
        switch (c) {
        case '"': quoted += "\\\""; break;
        case '\\': quoted += "\\\\"; break;
        case '\n': quoted += "\\n"; break;
        case '\r': quoted += "\\r"; break;
        case '\t': quoted += "\\t"; break;
        default:
            if (c < 0x20 || c == 0x7f)
                quoted += fmt::format("\\x{:02x}", c);
            else
                quoted += static_cast<char>(c);
        }
    }
    return quoted + "\"";
}

// PARAM-VALUE of RFC 5424: '"', '\' and ']' are escaped with a backslash. Line breaks are written
// as \n too: a collector that stores one message per line must not split a record.
std::string SdValue(const std::string& value) {
    std::string escaped;
    for (char c : value) {
        if (c == '"' || c == '\\' || c == ']') escaped += '\\';
        if (c == '\n') {
            escaped += "\\n";
            continue;
        }
        if (c == '\r') {
            escaped += "\\r";
            continue;
        }
        escaped += c;
    }
    return escaped;
}

// Header fields of RFC 5424 are printable US-ASCII without spaces, each with a maximum length;
// anything else becomes '_', an empty field "-" (the nil value).
std::string HeaderField(const std::string& value, std::size_t maxLength) {
    if (value.empty()) return "-";
    std::string field = value.substr(0, maxLength);
    for (char& c : field)
        if (c < 33 || c > 126) c = '_';
    return field;
}

std::string MessageText(const std::string& detail) {
    std::string text;
    for (char c : detail) text += (c == '\n' || c == '\r') ? ' ' : c;
    return text;
}

} // namespace

const char* AuditOutcomeName(AuditOutcome outcome) { return outcome == AuditOutcome::Success ? "success" : "failure"; }

std::optional<AuditOutcome> ParseAuditOutcome(const std::string& text) {
    if (text == "success") return AuditOutcome::Success;
    if (text == "failure") return AuditOutcome::Failure;
    return std::nullopt;
}

std::string AuditTimeText(std::int64_t timeMs) {
    const std::chrono::system_clock::time_point time{std::chrono::milliseconds(timeMs)};
    return Kyr::System::Commons::DateTime(time).ToIso8601();
}

std::string AuditLogLine(const AuditRecord& record) {
    return AuditTimeText(record.timeMs) + " seq=" + std::to_string(record.sequence) +
           " event=" + QuotedLogValue(record.eventId) + " category=" + QuotedLogValue(record.category) +
           " outcome=" + QuotedLogValue(AuditOutcomeName(record.outcome)) + " user=" + QuotedLogValue(record.user) +
           " address=" + QuotedLogValue(record.source) + " target=" + QuotedLogValue(record.target) +
           " detail=" + QuotedLogValue(record.detail);
}

std::string SyslogMessage(const AuditRecord& record, const std::string& hostName, const std::string& appName,
                          long processId) {
    constexpr int AuthPriv = 10, Warning = 4, Notice = 5;
    const int priority = AuthPriv * 8 + (record.outcome == AuditOutcome::Success ? Notice : Warning);
    std::string message = fmt::format("<{}>1 {} {} {} {} {} ", priority, AuditTimeText(record.timeMs),
                                      HeaderField(hostName, 255), HeaderField(appName, 48),
                                      HeaderField(std::to_string(processId), 128), HeaderField(record.eventId, 32));
    message += fmt::format("[audit@32473 seq=\"{}\" event=\"{}\" category=\"{}\" outcome=\"{}\" user=\"{}\" "
                           "address=\"{}\" target=\"{}\"]",
                           record.sequence, SdValue(record.eventId), SdValue(record.category),
                           AuditOutcomeName(record.outcome), SdValue(record.user), SdValue(record.source),
                           SdValue(record.target));
    if (!record.detail.empty()) message += " " + MessageText(record.detail);
    return message;
}

std::string FrameOctetCounted(const std::string& message) { return std::to_string(message.size()) + " " + message; }

} // namespace Kyr::PlatformServices
