#include "audit/AuditQueryString.h"

#include <algorithm>
#include <map>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"

namespace Kyr::WbmHost::Audit {

namespace Ps = Kyr::PlatformServices;

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date, in 64-bit arithmetic (the controller's
// time_t has 32 bits).
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

unsigned DaysInMonth(std::int64_t year, unsigned month) {
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

// The number of `count` digits at `at`, or nothing.
std::optional<unsigned> Digits(const std::string& text, std::size_t at, std::size_t count) {
    if (at + count > text.size()) return std::nullopt;
    unsigned value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    }
    return value;
}

std::optional<std::int64_t> PositiveNumber(const std::string& text) {
    if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    return std::stoll(text);
}

} // namespace

std::optional<std::int64_t> ParseUtcTime(const std::string& text) {
    // 2026-11-23T11:42:26[.123]Z
    if (text.size() < 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' || text[16] != ':' ||
        text.back() != 'Z')
        return std::nullopt;
    auto year = Digits(text, 0, 4), month = Digits(text, 5, 2), day = Digits(text, 8, 2), hour = Digits(text, 11, 2),
         minute = Digits(text, 14, 2), second = Digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second || *month < 1 || *month > 12 || *day < 1 ||
        *day > DaysInMonth(*year, *month) || *hour > 23 || *minute > 59 || *second > 59)
        return std::nullopt;
    std::int64_t milliseconds = 0;
    const std::size_t fractionLength = text.size() - 20;
    if (fractionLength > 0) {
        if (text[19] != '.' || fractionLength < 2 || fractionLength > 4) return std::nullopt;
        auto fraction = Digits(text, 20, fractionLength - 1);
        if (!fraction) return std::nullopt;
        milliseconds = *fraction;
        for (std::size_t digits = fractionLength - 1; digits < 3; ++digits) milliseconds *= 10;
    }
    const std::int64_t seconds = DaysFromCivil(*year, *month, *day) * 86400 + *hour * 3600 + *minute * 60 + *second;
    return seconds * 1000 + milliseconds;
}

ParsedAuditRequest ParseAuditRequest(const std::string& rawQuery) {
    // Names first: unknown and repeated ones are refused, so that a typo never silently widens a filter.
    std::map<std::string, std::string> values;
    const Kyr::Services::Commons::Wbm::Messages::RequestQuery query(rawQuery);
    std::size_t start = 0;
    while (start < rawQuery.size()) {
        std::size_t end = rawQuery.find('&', start);
        if (end == std::string::npos) end = rawQuery.size();
        const std::string name = rawQuery.substr(start, std::min(rawQuery.find('=', start), end) - start);
        start = end + 1;
        if (name.empty()) continue;
        static const char* const known[] = {"from", "to", "event", "user", "outcome", "before", "after", "limit", "format"};
        if (std::find(std::begin(known), std::end(known), name) == std::end(known))
            return {std::nullopt, "Unknown parameter: " + name.substr(0, 32)};
        if (values.count(name)) return {std::nullopt, "Parameter given twice: " + name};
        Kyr::String value;
        query.TryGetParameterValue(name, value, true);
        values[name] = value;
    }

    AuditRequest request;
    Ps::AuditQuery& filter = request.query;
    for (const char* name : {"from", "to"}) {
        if (!values.count(name)) continue;
        auto time = ParseUtcTime(values[name]);
        if (!time) return {std::nullopt, std::string("Invalid time in '") + name + "': expected YYYY-MM-DDTHH:MM:SS[.mmm]Z"};
        (std::string(name) == "from" ? filter.fromMs : filter.toMs) = time;
    }
    if (filter.fromMs && filter.toMs && *filter.fromMs > *filter.toMs) return {std::nullopt, "'from' is after 'to'"};
    if (values.count("event")) {
        if (!Ps::AuditEvents::CategoryOf(values["event"])) return {std::nullopt, "Unknown event id"};
        filter.eventId = values["event"];
    }
    filter.user = values.count("user") ? values["user"] : "";
    if (values.count("outcome")) {
        filter.outcome = Ps::ParseAuditOutcome(values["outcome"]);
        if (!filter.outcome) return {std::nullopt, "'outcome' must be 'success' or 'failure'"};
    }
    if (values.count("before") && values.count("after")) return {std::nullopt, "Give 'before' or 'after', not both"};
    for (const char* name : {"before", "after"}) {
        if (!values.count(name)) continue;
        auto sequence = PositiveNumber(values[name]);
        if (!sequence) return {std::nullopt, std::string("'") + name + "' must be a sequence number"};
        (std::string(name) == "before" ? filter.beforeSequence : filter.afterSequence) = sequence;
    }
    if (values.count("limit")) {
        auto limit = PositiveNumber(values["limit"]);
        if (!limit || *limit < 1 || *limit > Ps::MaxAuditPageSize)
            return {std::nullopt, "'limit' must be a number from 1 to " + std::to_string(Ps::MaxAuditPageSize)};
        filter.limit = static_cast<int>(*limit);
    }
    if (values.count("format")) {
        if (values["format"] == "csv") request.format = AuditFormat::Csv;
        else if (values["format"] != "json") return {std::nullopt, "'format' must be 'json' or 'csv'"};
    }
    return {request, ""};
}

} // namespace Kyr::WbmHost::Audit
