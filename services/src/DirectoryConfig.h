#pragma once
// The directory (LDAP) configuration file: "key = value" lines, '#' starts a comment line.
// Parsed and validated as a whole; the first fault answers a UserManagerConfigError and a text that
// names the line and the key. docs/ldap.md describes every key.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Kyr/System/Um/Services/UmEnums.h"

namespace Kyr::PlatformServices {

enum class SearchScope { Base, OneLevel, Subtree };

struct GroupRole {
    std::string groupDn;
    std::string role;
};

struct DirectoryConfig {
    std::vector<std::string> servers; // tried in order
    bool startTls = true;             // for ldap:// servers
    std::string trustStore;           // empty only when no server uses TLS
    int connectTimeoutSeconds = 5;
    int operationTimeoutSeconds = 5;

    std::string userBase;
    SearchScope userScope = SearchScope::Subtree;
    std::string userFilter = "(objectClass=*)";
    std::string userNameAttribute = "uid";

    std::string bindDn;       // empty: anonymous search
    std::string bindPassword; // never shown back

    std::string groupBase;
    SearchScope groupScope = SearchScope::Subtree;
    std::string groupFilter = "(objectClass=groupOfNames)";
    std::string groupMemberAttribute = "member";
    bool groupMemberIsDn = true; // the membership attribute holds the user's DN (else the login name)

    std::vector<GroupRole> groupRoles;

    bool UsesTls() const;
};

struct DirectoryConfigError {
    Kyr::System::Um::Services::UserManagerConfigError code;
    std::string text; // "Line 4, key 'server': ..." (never holds the bind password)
};

// What the validation needs to know of the device.
struct DirectoryConfigContext {
    std::function<bool(const std::string&)> trustStoreExists;
    std::function<bool(const std::string&)> roleExists; // a role a user may hold
    // The bind password stored before, used when the file holds the mask in its place.
    std::optional<std::string> storedBindPassword;
};

// The text put in place of the bind password wherever the configuration is shown.
inline constexpr const char* MaskedPassword = "********";

// Parses and validates a whole file. On success the configuration, otherwise the first fault.
std::pair<std::optional<DirectoryConfig>, std::optional<DirectoryConfigError>> ParseDirectoryConfig(
    const std::string& text, const DirectoryConfigContext& context);

// The file text with the bind password's value replaced by MaskedPassword.
std::string MaskDirectoryConfig(const std::string& text);

} // namespace Kyr::PlatformServices
