#include "RuleViolationText.h"

#include <fmt/format.h>

namespace Kyr::PlatformServices {

namespace {

std::string Plural(std::uint32_t count, const char* singular, const char* plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

const char* IntervalUnit(PasswordPolicyInterval interval, bool plural) {
    switch (interval) {
    case PasswordPolicyInterval::Hour: return plural ? "hours" : "hour";
    case PasswordPolicyInterval::Day: return plural ? "days" : "day";
    case PasswordPolicyInterval::Week: return plural ? "weeks" : "week";
    case PasswordPolicyInterval::Month: return plural ? "months" : "month";
    }
    return plural ? "intervals" : "interval";
}

std::string Interval(const RuleViolation& v) {
    if (v.intervalCount == 1) return IntervalUnit(v.intervalType, false);
    return fmt::format("{} {}", v.intervalCount, IntervalUnit(v.intervalType, true));
}

std::string LongForm(const RuleViolation& v) {
    switch (v.rule) {
    case PasswordRule::TooShort: return fmt::format("Too short: min {} chars.", v.count);
    case PasswordRule::Letters: return fmt::format("Needs {}.", Plural(v.count, "letter", "letters"));
    case PasswordRule::MixedCase: return fmt::format("Needs {} upper + {} lower case.", v.count, v.count);
    case PasswordRule::Digits: return fmt::format("Needs {}.", Plural(v.count, "digit", "digits"));
    case PasswordRule::Symbols: return fmt::format("Needs {}.", Plural(v.count, "symbol", "symbols"));
    case PasswordRule::NonAscii: return fmt::format("Needs {} non-ASCII.", v.count);
    case PasswordRule::SymbolNotAllowed: return "Symbol not allowed.";
    case PasswordRule::ControlCharacter: return "Control chars not allowed.";
    case PasswordRule::InvalidUtf8: return "Not valid UTF-8.";
    case PasswordRule::ContainsUserName: return "Contains user name.";
    case PasswordRule::BlockListed: return "On block list.";
    case PasswordRule::Reused:
        return v.count <= 1 ? "Same as current password." : fmt::format("Used in last {} passwords.", v.count);
    case PasswordRule::ChangeLimit: return fmt::format("Max {} per {}.", Plural(v.count, "change", "changes"), Interval(v));
    }
    return "Rule broken.";
}

std::string ShortForm(const RuleViolation& v) {
    switch (v.rule) {
    case PasswordRule::TooShort: return fmt::format("Min {} chars.", v.count);
    case PasswordRule::Letters: return fmt::format("{}+ letters.", v.count);
    case PasswordRule::MixedCase: return fmt::format("{}+ A-Z/a-z.", v.count);
    case PasswordRule::Digits: return fmt::format("{}+ digits.", v.count);
    case PasswordRule::Symbols: return fmt::format("{}+ symbols.", v.count);
    case PasswordRule::NonAscii: return fmt::format("{}+ non-ASCII.", v.count);
    case PasswordRule::SymbolNotAllowed: return "Bad symbol.";
    case PasswordRule::ControlCharacter: return "Control char.";
    case PasswordRule::InvalidUtf8: return "Bad UTF-8.";
    case PasswordRule::ContainsUserName: return "Has user name.";
    case PasswordRule::BlockListed: return "Blocked.";
    case PasswordRule::Reused: return fmt::format("Reused ({}).", v.count);
    case PasswordRule::ChangeLimit: return fmt::format("Max {}/{}.", v.count, Interval(v));
    }
    return "Rule.";
}

std::string Join(const std::vector<std::string>& items, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += (i ? " " : "") + items[i];
    return text;
}

} // namespace

std::string DescribeViolations(const std::vector<RuleViolation>& violations, std::size_t limit) {
    std::vector<std::string> longForms, shortForms;
    for (const RuleViolation& violation : violations) {
        longForms.push_back(LongForm(violation));
        shortForms.push_back(ShortForm(violation));
    }
    std::string text = Join(longForms, longForms.size());
    if (text.size() <= limit) return text;
    text = Join(shortForms, shortForms.size());
    if (text.size() <= limit) return text;
    static const std::string ellipsis = " \u2026";
    for (std::size_t count = shortForms.size(); count-- > 0;) {
        text = Join(shortForms, count) + ellipsis;
        if (text.size() <= limit) return count ? text : ellipsis.substr(1);
    }
    return ellipsis.substr(1);
}

} // namespace Kyr::PlatformServices
