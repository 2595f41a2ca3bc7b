#include "Kyr/System/Um/Services/UmEnums.h"

#include <string>

namespace Kyr::System::Um::Services {

namespace {

template <class TEnum>
struct EnumName {
    TEnum value;
    const char* name;
};

constexpr EnumName<UserManagerConfigError> configErrorNames[] = {
    {UserManagerConfigError::NoError, "NoError"},
    {UserManagerConfigError::UnknownError, "UnknownError"},
    {UserManagerConfigError::NotSupported, "NotSupported"},
    {UserManagerConfigError::ServiceUnavailable, "ServiceUnavailable"},
    {UserManagerConfigError::FileError, "FileError"},
    {UserManagerConfigError::DatabaseError, "DatabaseError"},
    {UserManagerConfigError::NotFound, "NotFound"},
    {UserManagerConfigError::InvalidArgument, "InvalidArgument"},
    {UserManagerConfigError::ValueOutOfRange, "ValueOutOfRange"},
    {UserManagerConfigError::WarningDaysNotBelowExpirationDays, "WarningDaysNotBelowExpirationDays"},
    {UserManagerConfigError::InitialTimeoutAboveMaximum, "InitialTimeoutAboveMaximum"},
    {UserManagerConfigError::IncrementAboveMaximum, "IncrementAboveMaximum"},
    {UserManagerConfigError::RulesetNameMismatch, "RulesetNameMismatch"},
    {UserManagerConfigError::InvalidSymbolSet, "InvalidSymbolSet"},
    {UserManagerConfigError::InvalidBlockListEntry, "InvalidBlockListEntry"},
    {UserManagerConfigError::LdapConfigurationInvalid, "LdapConfigurationInvalid"},
    {UserManagerConfigError::LdapConfigurationMissing, "LdapConfigurationMissing"},
    {UserManagerConfigError::MinimumCountsExceedLength, "MinimumCountsExceedLength"},
};

constexpr EnumName<UserPasswordState> passwordStateNames[] = {
    {UserPasswordState::Valid, "Valid"},
    {UserPasswordState::ExpiresSoon, "ExpiresSoon"},
    {UserPasswordState::Expired, "Expired"},
    {UserPasswordState::Locked, "Locked"},
};

constexpr EnumName<PasswordPolicyInterval> intervalNames[] = {
    {PasswordPolicyInterval::Hour, "Hour"},
    {PasswordPolicyInterval::Day, "Day"},
    {PasswordPolicyInterval::Week, "Week"},
    {PasswordPolicyInterval::Month, "Month"},
};

template <class TEnum, std::size_t N>
std::ostream& WriteName(std::ostream& stream, TEnum value, const EnumName<TEnum> (&names)[N]) {
    for (const auto& entry : names)
        if (entry.value == value) return stream << entry.name;
    return stream << static_cast<std::uint32_t>(value);
}

template <class TEnum, std::size_t N>
std::istream& ReadName(std::istream& stream, TEnum& value, const EnumName<TEnum> (&names)[N]) {
    std::string text;
    if (!(stream >> text)) return stream;
    for (const auto& entry : names) {
        if (text == entry.name) {
            value = entry.value;
            return stream;
        }
    }
    stream.setstate(std::ios::failbit);
    return stream;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, UserManagerConfigError value) { return WriteName(stream, value, configErrorNames); }
std::istream& operator>>(std::istream& stream, UserManagerConfigError& value) { return ReadName(stream, value, configErrorNames); }
std::ostream& operator<<(std::ostream& stream, UserPasswordState value) { return WriteName(stream, value, passwordStateNames); }
std::istream& operator>>(std::istream& stream, UserPasswordState& value) { return ReadName(stream, value, passwordStateNames); }
std::ostream& operator<<(std::ostream& stream, PasswordPolicyInterval value) { return WriteName(stream, value, intervalNames); }
std::istream& operator>>(std::istream& stream, PasswordPolicyInterval& value) { return ReadName(stream, value, intervalNames); }

} // namespace Kyr::System::Um::Services
