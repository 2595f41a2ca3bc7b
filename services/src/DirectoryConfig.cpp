#include "DirectoryConfig.h"

#include "DirectoryClient.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

namespace Kyr::PlatformServices {

using E = Kyr::System::Um::Services::UserManagerConfigError;

namespace {

constexpr std::size_t MaxServers = 8;
constexpr const char* BindPasswordKey = "bind_password";

// Keys that may appear more than once.
const std::set<std::string> RepeatableKeys = {"server", "group_role"};
const std::set<std::string> KnownKeys = {
    "server",       "start_tls",   "unencrypted_connection", "trust_store",        "connect_timeout",
    "operation_timeout", "user_base", "user_scope",         "user_filter",         "user_name_attribute",
    "bind_dn",      BindPasswordKey, "group_base",           "group_scope",         "group_filter",
    "group_member_attribute", "group_member_value", "group_role"};

std::string Trim(const std::string& text) {
    const char* blanks = " \t\r";
    std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

struct Entry {
    int line;
    std::string value;
};

class Fault {
public:
    Fault(E code, std::string text) : error{code, std::move(text)} {}
    DirectoryConfigError error;
};

[[noreturn]] void Refuse(E code, int line, const std::string& key, const std::string& what) {
    std::ostringstream text;
    if (line > 0) text << "Line " << line << ", key '" << key << "': " << what;
    else text << "Key '" << key << "': " << what;
    throw Fault(code, text.str());
}

bool ValidDn(const std::string& dn) { return !dn.empty() && LoadDirectoryClient().isValidDn(dn); }

// A filter in parentheses whose parentheses balance (escaped ones are written \28 and \29).
bool ValidFilter(const std::string& filter) {
    if (filter.size() < 3 || filter.front() != '(' || filter.back() != ')') return false;
    int depth = 0;
    for (std::size_t i = 0; i < filter.size(); ++i) {
        if (filter[i] == '(') ++depth;
        if (filter[i] == ')' && --depth < 0) return false;
        if (depth == 0 && i + 1 != filter.size()) return false;
    }
    return depth == 0;
}

bool ValidAttribute(const std::string& name) {
    return !name.empty() && std::isalpha(static_cast<unsigned char>(name[0])) &&
           std::all_of(name.begin(), name.end(),
                       [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-'; });
}

class Parser {
public:
    Parser(const std::string& text, const DirectoryConfigContext& context) : context(context) { Split(text); }

    DirectoryConfig Build() {
        DirectoryConfig config;
        for (const Entry& entry : entries["server"]) config.servers.push_back(Server(entry));
        if (config.servers.empty()) Refuse(E::LdapMissingKey, 0, "server", "at least one server is needed");
        if (config.servers.size() > MaxServers)
            Refuse(E::LdapInvalidValue, entries["server"][MaxServers].line, "server", "at most 8 servers");

        config.startTls = Flag("start_tls", true);
        const bool unencrypted = One("unencrypted_connection") && Value("unencrypted_connection") == "allowed";
        if (One("unencrypted_connection") && !unencrypted)
            Refuse(E::LdapInvalidValue, Line("unencrypted_connection"), "unencrypted_connection",
                   "the only value is 'allowed'");
        if (!config.startTls && !unencrypted) {
            for (std::size_t i = 0; i < config.servers.size(); ++i)
                if (config.servers[i].rfind("ldap://", 0) == 0)
                    Refuse(E::LdapUnencryptedNotAllowed, entries["server"][i].line, "server",
                           "ldap:// without StartTLS sends passwords unencrypted; use ldaps://, start_tls = yes, "
                           "or write 'unencrypted_connection = allowed'");
        }
        if (One("trust_store")) {
            config.trustStore = Value("trust_store");
            if (!context.trustStoreExists || !context.trustStoreExists(config.trustStore))
                Refuse(E::LdapTrustStoreNotFound, Line("trust_store"), "trust_store",
                       "no trust store named '" + config.trustStore + "' on the device");
        } else if (config.UsesTls()) {
            Refuse(E::LdapMissingKey, 0, "trust_store", "the trust store that verifies the server is needed");
        }
        config.connectTimeoutSeconds = Number("connect_timeout", 5, 1, 60);
        config.operationTimeoutSeconds = Number("operation_timeout", 5, 1, 300);

        config.userBase = Dn("user_base", true);
        config.userScope = Scope("user_scope");
        if (One("user_filter")) config.userFilter = Filter("user_filter");
        if (One("user_name_attribute")) config.userNameAttribute = Attribute("user_name_attribute");

        if (One("bind_dn") != One(BindPasswordKey))
            Refuse(E::LdapIncompleteServiceBind, Line(One("bind_dn") ? "bind_dn" : BindPasswordKey),
                   One("bind_dn") ? "bind_dn" : BindPasswordKey, "bind_dn and bind_password go together");
        if (One("bind_dn")) {
            config.bindDn = Dn("bind_dn", true);
            config.bindPassword = Value(BindPasswordKey);
            if (config.bindPassword == MaskedPassword) {
                // A downloaded configuration sent back unchanged keeps the stored password.
                if (!context.storedBindPassword)
                    Refuse(E::LdapMissingKey, Line(BindPasswordKey), BindPasswordKey,
                           "no password is stored yet: write the password instead of the mask");
                config.bindPassword = *context.storedBindPassword;
            }
            if (config.bindPassword.empty())
                Refuse(E::LdapInvalidValue, Line(BindPasswordKey), BindPasswordKey, "the password must not be empty");
        }

        config.groupBase = Dn("group_base", true);
        config.groupScope = Scope("group_scope");
        if (One("group_filter")) config.groupFilter = Filter("group_filter");
        if (One("group_member_attribute")) config.groupMemberAttribute = Attribute("group_member_attribute");
        if (One("group_member_value")) {
            const std::string& kind = Value("group_member_value");
            if (kind != "dn" && kind != "name")
                Refuse(E::LdapInvalidValue, Line("group_member_value"), "group_member_value", "'dn' or 'name'");
            config.groupMemberIsDn = kind == "dn";
        }
        for (const Entry& entry : entries["group_role"]) config.groupRoles.push_back(Role(entry));
        if (config.groupRoles.empty())
            Refuse(E::LdapMissingKey, 0, "group_role", "at least one group must map to a role");
        return config;
    }

private:
    void Split(const std::string& text) {
        std::istringstream lines(text);
        std::string raw;
        for (int number = 1; std::getline(lines, raw); ++number) {
            std::string line = Trim(raw);
            if (line.empty() || line[0] == '#') continue;
            std::size_t equals = line.find('=');
            if (equals == std::string::npos)
                throw Fault(E::LdapSyntaxError, "Line " + std::to_string(number) + ": expected 'key = value'");
            std::string key = Trim(line.substr(0, equals));
            if (!KnownKeys.count(key)) {
                // Shown only when it looks like one of the keys: a pasted password must not reach the log.
                bool shown = !key.empty() && key.size() <= 32 && std::all_of(key.begin(), key.end(), [](char c) {
                    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
                });
                throw Fault(E::LdapUnknownKey, "Line " + std::to_string(number) + ": unknown key" +
                                                   (shown ? " '" + key + "'" : std::string()));
            }
            auto& list = entries[key];
            if (!list.empty() && !RepeatableKeys.count(key))
                Refuse(E::LdapDuplicateKey, number, key, "given already on line " + std::to_string(list.front().line));
            std::string value = Trim(line.substr(equals + 1));
            if (value.empty()) Refuse(E::LdapInvalidValue, number, key, "no value");
            list.push_back({number, value});
        }
    }

    bool One(const std::string& key) { return !entries[key].empty(); }
    const std::string& Value(const std::string& key) { return entries[key].front().value; }
    int Line(const std::string& key) { return One(key) ? entries[key].front().line : 0; }

    std::string Server(const Entry& entry) {
        if (!LoadDirectoryClient().isValidServerUri(entry.value))
            Refuse(E::LdapInvalidServerUri, entry.line, "server",
                   "'" + entry.value + "' is not ldap://host[:port] or ldaps://host[:port]");
        return entry.value;
    }

    bool Flag(const std::string& key, bool fallback) {
        if (!One(key)) return fallback;
        if (Value(key) == "yes") return true;
        if (Value(key) == "no") return false;
        Refuse(E::LdapInvalidValue, Line(key), key, "'yes' or 'no'");
    }

    int Number(const std::string& key, int fallback, int minimum, int maximum) {
        if (!One(key)) return fallback;
        const std::string& text = Value(key);
        bool digits = !text.empty() && text.size() <= 6 &&
                      std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
        int value = digits ? std::stoi(text) : -1;
        if (value < minimum || value > maximum)
            Refuse(E::LdapInvalidValue, Line(key), key,
                   "seconds from " + std::to_string(minimum) + " to " + std::to_string(maximum));
        return value;
    }

    std::string Dn(const std::string& key, bool required) {
        if (!One(key)) {
            if (required) Refuse(E::LdapMissingKey, 0, key, "missing");
            return {};
        }
        if (!ValidDn(Value(key))) Refuse(E::LdapInvalidDn, Line(key), key, "'" + Value(key) + "' is not a DN");
        return Value(key);
    }

    SearchScope Scope(const std::string& key) {
        if (!One(key) || Value(key) == "sub") return SearchScope::Subtree;
        if (Value(key) == "one") return SearchScope::OneLevel;
        if (Value(key) == "base") return SearchScope::Base;
        Refuse(E::LdapInvalidValue, Line(key), key, "'sub', 'one' or 'base'");
    }

    std::string Filter(const std::string& key) {
        if (!ValidFilter(Value(key)))
            Refuse(E::LdapInvalidFilter, Line(key), key, "'" + Value(key) + "' is not one filter in parentheses");
        return Value(key);
    }

    std::string Attribute(const std::string& key) {
        if (!ValidAttribute(Value(key)))
            Refuse(E::LdapInvalidValue, Line(key), key, "'" + Value(key) + "' is not an attribute name");
        return Value(key);
    }

    // "group_role = Role : group DN"
    GroupRole Role(const Entry& entry) {
        std::size_t colon = entry.value.find(':');
        if (colon == std::string::npos)
            Refuse(E::LdapSyntaxError, entry.line, "group_role", "expected 'Role : group DN'");
        GroupRole mapping{Trim(entry.value.substr(colon + 1)), Trim(entry.value.substr(0, colon))};
        if (!context.roleExists || !context.roleExists(mapping.role))
            Refuse(E::LdapUnknownRole, entry.line, "group_role", "no role '" + mapping.role + "' on the device");
        if (!ValidDn(mapping.groupDn))
            Refuse(E::LdapInvalidDn, entry.line, "group_role", "'" + mapping.groupDn + "' is not a DN");
        return mapping;
    }

    const DirectoryConfigContext& context;
    std::map<std::string, std::vector<Entry>> entries;
};

} // namespace

bool DirectoryConfig::UsesTls() const {
    return std::any_of(servers.begin(), servers.end(),
                       [&](const std::string& uri) { return uri.rfind("ldaps://", 0) == 0 || startTls; });
}

std::pair<std::optional<DirectoryConfig>, std::optional<DirectoryConfigError>> ParseDirectoryConfig(
    const std::string& text, const DirectoryConfigContext& context) {
    try {
        return {Parser(text, context).Build(), std::nullopt};
    } catch (const DirectoryClientMissing& missing) {
        // Names and addresses are checked by the directory client itself.
        return {std::nullopt, DirectoryConfigError{E::NotSupported, missing.what()}};
    } catch (const Fault& fault) {
        return {std::nullopt, fault.error};
    }
}

std::string MaskDirectoryConfig(const std::string& text) {
    std::istringstream lines(text);
    std::string out, line;
    while (std::getline(lines, line)) {
        std::string trimmed = Trim(line);
        std::size_t equals = trimmed.find('=');
        if (trimmed.empty() || trimmed[0] == '#' || equals == std::string::npos ||
            Trim(trimmed.substr(0, equals)) != BindPasswordKey)
            out += line;
        else
            out += std::string(BindPasswordKey) + " = " + MaskedPassword;
        if (!lines.eof()) out += '\n';
    }
    return out;
}

} // namespace Kyr::PlatformServices
