#include "audit/AuditRendering.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Kyr/System/Commons/DateTime.h"

namespace Kyr::WbmHost::Audit {

namespace Ps = Kyr::PlatformServices;

namespace {

std::string TimeText(std::int64_t timeMs) {
    const std::chrono::system_clock::time_point time{std::chrono::milliseconds(timeMs)};
    return Kyr::System::Commons::DateTime(time).ToIso8601();
}

// The length of the well-formed UTF-8 sequence at `at` (no overlong forms, no surrogates), or 0.
std::size_t Utf8Length(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    if (first < 0x80) return 1;
    std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : first >= 0xc2 ? 2 : 0;
    if (length == 0 || first > 0xf4 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(at + i) & 0xc0) != 0x80) return 0;
    const unsigned char second = byte(at + 1);
    if ((first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) || (first == 0xf0 && second < 0x90) ||
        (first == 0xf4 && second > 0x8f))
        return 0;
    return length;
}

std::string ValidUtf8(const std::string& text) {
    std::string valid;
    valid.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = Utf8Length(text, at);
        if (length == 0) {
            valid += "\xEF\xBF\xBD";
            ++at;
        } else {
            valid.append(text, at, length);
            at += length;
        }
    }
    return valid;
}

std::string CsvCell(const std::string& text) {
    std::string cell = ValidUtf8(text);
    if (!cell.empty() && (cell[0] == '=' || cell[0] == '+' || cell[0] == '-' || cell[0] == '@' || cell[0] == '\t' ||
                          cell[0] == '\r'))
        cell.insert(0, 1, '\'');
    std::string quoted = "\"";
    for (char c : cell) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

} // namespace

std::string RenderAuditJson(const Ps::AuditPage& page, const Ps::AuditStatus& status) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> json(buffer);
    const auto text = [&json](const char* name, const std::string& value) {
        json.Key(name);
        const std::string valid = ValidUtf8(value);
        json.String(valid.c_str(), static_cast<rapidjson::SizeType>(valid.size()));
    };
    json.StartObject();
    json.Key("records");
    json.StartArray();
    for (const Ps::AuditRecord& record : page.records) {
        json.StartObject();
        json.Key("sequence");
        json.Int64(record.sequence);
        text("time", TimeText(record.timeMs));
        text("eventId", record.eventId);
        text("category", record.category);
        text("outcome", Ps::AuditOutcomeName(record.outcome));
        text("user", record.user);
        text("source", record.source);
        text("target", record.target);
        text("detail", record.detail);
        json.EndObject();
    }
    json.EndArray();
    json.Key("nextCursor");
    if (page.nextCursor) json.Int64(*page.nextCursor);
    else json.Null();
    json.Key("storage");
    json.StartObject();
    json.Key("recordCount");
    json.Int64(status.recordCount);
    json.Key("capacity");
    json.Int64(status.capacity);
    json.Key("warning");
    json.Bool(status.capacityWarning);
    json.Key("lastWriteFailed");
    json.Bool(status.lastWriteFailed);
    json.Key("forwarding");
    json.Bool(status.forwarding);
    json.Key("forwardDrops");
    json.Uint64(status.forwardDrops);
    json.EndObject();
    json.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize());
}

std::string RenderAuditCsv(const Ps::AuditPage& page) {
    std::string csv = "sequence,time,eventId,category,outcome,user,source,target,detail\r\n";
    for (const Ps::AuditRecord& record : page.records)
        csv += std::to_string(record.sequence) + "," + TimeText(record.timeMs) + "," + CsvCell(record.eventId) + "," +
               CsvCell(record.category) + "," + Ps::AuditOutcomeName(record.outcome) + "," + CsvCell(record.user) +
               "," + CsvCell(record.source) + "," + CsvCell(record.target) + "," + CsvCell(record.detail) + "\r\n";
    return csv;
}

} // namespace Kyr::WbmHost::Audit
