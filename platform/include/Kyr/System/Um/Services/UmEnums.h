#pragma once
#include <cstdint>
#include <istream>
#include <ostream>

#include <fmt/ostream.h>

#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Um::Services {

// Result of every user-manager configuration operation; 0 is success. The name says what is wrong.
enum class UserManagerConfigError : std::uint32_t {
    NoError = 0,
    UnknownError = 1,
    NotSupported = 2,
    ServiceUnavailable = 3,
    FileError = 4,
    DatabaseError = 5,
    NotFound = 6,
    InvalidArgument = 7,
    ValueOutOfRange = 8,
    WarningDaysNotBelowExpirationDays = 9,
    InitialTimeoutAboveMaximum = 10,
    IncrementAboveMaximum = 11,
    RulesetNameMismatch = 12,
    InvalidSymbolSet = 13,
    InvalidBlockListEntry = 14,
    LdapConfigurationInvalid = 15,
    LdapConfigurationMissing = 16,
    MinimumCountsExceedLength = 17,
    // A directory configuration file refused; the configuration service's error text names the line and key.
    LdapSyntaxError = 18,
    LdapUnknownKey = 19,
    LdapDuplicateKey = 20,
    LdapMissingKey = 21,
    LdapInvalidValue = 22,
    LdapInvalidServerUri = 23,
    LdapUnencryptedNotAllowed = 24,
    LdapTrustStoreNotFound = 25,
    LdapInvalidDn = 26,
    LdapInvalidFilter = 27,
    LdapUnknownRole = 28,
    LdapIncompleteServiceBind = 29,
};

// State of a user's password.
enum class UserPasswordState : std::uint32_t {
    Valid = 0,
    ExpiresSoon = 1, // inside the warning days before expiry
    Expired = 2,
    Locked = 3,      // expired while the ruleset locks expired users
};

// Unit of the interval in which the allowed number of password changes is counted.
enum class PasswordPolicyInterval : std::uint32_t {
    Hour = 0,
    Day = 1,
    Week = 2,
    Month = 3,
};

// Text forms are the enumerator names ("NoError", "Expired", "Day"). Printing an unknown value
// prints its number. Reading an unknown name sets the stream's fail bit and leaves the value alone.
KYR_API std::ostream& operator<<(std::ostream& stream, UserManagerConfigError value);
KYR_API std::istream& operator>>(std::istream& stream, UserManagerConfigError& value);
KYR_API std::ostream& operator<<(std::ostream& stream, UserPasswordState value);
KYR_API std::istream& operator>>(std::istream& stream, UserPasswordState& value);
KYR_API std::ostream& operator<<(std::ostream& stream, PasswordPolicyInterval value);
KYR_API std::istream& operator>>(std::istream& stream, PasswordPolicyInterval& value);

} // namespace Kyr::System::Um::Services

template <>
struct fmt::formatter<Kyr::System::Um::Services::UserManagerConfigError> : fmt::ostream_formatter {};
template <>
struct fmt::formatter<Kyr::System::Um::Services::UserPasswordState> : fmt::ostream_formatter {};
template <>
struct fmt::formatter<Kyr::System::Um::Services::PasswordPolicyInterval> : fmt::ostream_formatter {};
