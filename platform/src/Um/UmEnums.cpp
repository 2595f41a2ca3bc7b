#include "Kyr/System/Um/Services/UmEnums.h"

#include "Kyr/System/Commons/EnumText.h"

namespace Kyr::System::Um::Services {

using Kyr::System::Commons::EnumName;
using Kyr::System::Commons::ReadEnumName;
using Kyr::System::Commons::WriteEnumName;

namespace {

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
    {UserManagerConfigError::LdapSyntaxError, "LdapSyntaxError"},
    {UserManagerConfigError::LdapUnknownKey, "LdapUnknownKey"},
    {UserManagerConfigError::LdapDuplicateKey, "LdapDuplicateKey"},
    {UserManagerConfigError::LdapMissingKey, "LdapMissingKey"},
    {UserManagerConfigError::LdapInvalidValue, "LdapInvalidValue"},
    {UserManagerConfigError::LdapInvalidServerUri, "LdapInvalidServerUri"},
    {UserManagerConfigError::LdapUnencryptedNotAllowed, "LdapUnencryptedNotAllowed"},
    {UserManagerConfigError::LdapTrustStoreNotFound, "LdapTrustStoreNotFound"},
    {UserManagerConfigError::LdapInvalidDn, "LdapInvalidDn"},
    {UserManagerConfigError::LdapInvalidFilter, "LdapInvalidFilter"},
    {UserManagerConfigError::LdapUnknownRole, "LdapUnknownRole"},
    {UserManagerConfigError::LdapIncompleteServiceBind, "LdapIncompleteServiceBind"},
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

} // namespace

std::ostream& operator<<(std::ostream& stream, UserManagerConfigError value) { return WriteEnumName(stream, value, configErrorNames); }
std::istream& operator>>(std::istream& stream, UserManagerConfigError& value) { return ReadEnumName(stream, value, configErrorNames); }
std::ostream& operator<<(std::ostream& stream, UserPasswordState value) { return WriteEnumName(stream, value, passwordStateNames); }
std::istream& operator>>(std::istream& stream, UserPasswordState& value) { return ReadEnumName(stream, value, passwordStateNames); }
std::ostream& operator<<(std::ostream& stream, PasswordPolicyInterval value) { return WriteEnumName(stream, value, intervalNames); }
std::istream& operator>>(std::istream& stream, PasswordPolicyInterval& value) { return ReadEnumName(stream, value, intervalNames); }

} // namespace Kyr::System::Um::Services
