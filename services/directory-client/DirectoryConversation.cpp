#include "DirectoryConversation.h"

#include <ldap.h>

#include <algorithm>
#include <memory>

#include "DirectoryConnection.h"

namespace Kyr::PlatformServices {

namespace {

// DNs compare after normalising their spacing, and without regard to ASCII case.
std::string ComparableDn(const std::string& dn) {
    char* normal = nullptr;
    std::string result = dn;
    if (ldap_dn_normalize(dn.c_str(), LDAP_DN_FORMAT_LDAPV3, &normal, LDAP_DN_FORMAT_LDAPV3) == LDAP_SUCCESS && normal) {
        result = normal;
        ldap_memfree(normal);
    }
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

std::string Joined(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items) text += (text.empty() ? "" : "; ") + item;
    return text;
}

class Conversation {
public:
    Conversation(const DirectoryConfig& config, const std::string& trustStoreFolder)
        : config(config), trustStoreFolder(trustStoreFolder) {}

    DirectoryOutcome Run(const std::optional<DirectoryCredentials>& credentials) {
        try {
            Connect();
            if (!ServiceBind()) return Finish(DirectoryVerdict::Failed);
            if (!credentials) return Finish(DirectoryVerdict::Succeeded);
            return User(*credentials);
        } catch (const DirectoryError& error) {
            Step(error.step, false, error.what());
            outcome.error = error.what();
            return Finish(DirectoryVerdict::Failed);
        }
    }

private:
    // Servers in order; the next one only when this one cannot be reached or secured.
    void Connect() {
        for (std::size_t i = 0; i < config.servers.size(); ++i) {
            outcome.server = config.servers[i];
            try {
                connection = std::make_unique<DirectoryConnection>(config, outcome.server, trustStoreFolder);
                break;
            } catch (const DirectoryError& error) {
                if (i + 1 == config.servers.size()) {
                    if (error.step == DirectoryStep::Tls) Step(DirectoryStep::Connect, true, outcome.server + " answered");
                    if (tried.empty()) throw;
                    throw DirectoryError(error.step, std::string(error.what()) + " (also tried: " + Joined(tried) + ")");
                }
                tried.push_back(error.what());
            }
        }
        outcome.reached = true;
        std::string detail = outcome.server + " answered";
        if (!tried.empty()) detail += " (after: " + Joined(tried) + ")";
        Step(DirectoryStep::Connect, true, detail);
        Step(DirectoryStep::Tls, true,
             connection->Secured() ? "certificate verified; subject: " + connection->PeerSubject()
                                   : "not encrypted: the configuration allows an unencrypted connection");
    }

    bool ServiceBind() {
        if (config.bindDn.empty()) {
            Step(DirectoryStep::ServiceBind, true, "none configured: searching anonymously");
            return true;
        }
        if (!connection->Bind(config.bindDn, config.bindPassword, DirectoryStep::ServiceBind)) {
            outcome.error = outcome.server + ": the directory refused the service account '" + config.bindDn + "'";
            Step(DirectoryStep::ServiceBind, false, outcome.error + ": check bind_dn and bind_password");
            return false;
        }
        Step(DirectoryStep::ServiceBind, true, "bound as " + config.bindDn);
        return true;
    }

    DirectoryOutcome User(const DirectoryCredentials& credentials) {
        const std::string filter =
            "(&" + config.userFilter + "(" + config.userNameAttribute + "=" + EscapeFilterValue(credentials.userName) + "))";
        auto users = connection->Search(config.userBase, config.userScope, filter, "", 1, DirectoryStep::UserSearch);
        if (users.empty()) {
            Step(DirectoryStep::UserSearch, false, "no user matches " + filter + " below " + config.userBase);
            return Finish(DirectoryVerdict::UnknownUser);
        }
        const std::string userDn = users.front().dn;
        Step(DirectoryStep::UserSearch, true, userDn);

        if (credentials.password.empty()) {
            Step(DirectoryStep::UserBind, false, "an empty password is refused without asking the directory");
            return Finish(DirectoryVerdict::WrongPassword);
        }
        if (!connection->Bind(userDn, credentials.password, DirectoryStep::UserBind)) {
            Step(DirectoryStep::UserBind, false, "the directory refused the password of " + userDn);
            return Finish(DirectoryVerdict::WrongPassword);
        }
        Step(DirectoryStep::UserBind, true, "password accepted");

        // Groups are read with the service account where there is one: users often may not read them.
        if (!config.bindDn.empty() && !connection->Bind(config.bindDn, config.bindPassword, DirectoryStep::Groups))
            throw DirectoryError(DirectoryStep::Groups, outcome.server + ": the directory refused the service account again");
        const std::string member = config.groupMemberIsDn ? userDn : credentials.userName;
        const std::string groupFilter =
            "(&" + config.groupFilter + "(" + config.groupMemberAttribute + "=" + EscapeFilterValue(member) + "))";
        std::vector<std::string> groups;
        for (const auto& group : connection->Search(config.groupBase, config.groupScope, groupFilter, "", 0, DirectoryStep::Groups))
            groups.push_back(group.dn);
        Step(DirectoryStep::Groups, true, groups.empty() ? "member of no group below " + config.groupBase : Joined(groups));

        for (const GroupRole& mapping : config.groupRoles) {
            bool member = std::any_of(groups.begin(), groups.end(), [&](const std::string& group) {
                return ComparableDn(group) == ComparableDn(mapping.groupDn);
            });
            if (member && std::find(outcome.roles.begin(), outcome.roles.end(), mapping.role) == outcome.roles.end())
                outcome.roles.push_back(mapping.role);
        }
        if (outcome.roles.empty()) {
            Step(DirectoryStep::Roles, false, "none of the user's groups maps to a role: add a group_role line for one of them");
            return Finish(DirectoryVerdict::NoRole);
        }
        Step(DirectoryStep::Roles, true, Joined(outcome.roles));
        return Finish(DirectoryVerdict::Succeeded);
    }

    void Step(DirectoryStep step, bool succeeded, const std::string& detail) {
        outcome.steps.push_back({DirectoryStepName(step), succeeded, detail});
    }

    DirectoryOutcome Finish(DirectoryVerdict verdict) {
        outcome.verdict = verdict;
        if (verdict != DirectoryVerdict::Succeeded) outcome.roles.clear();
        return std::move(outcome);
    }

    const DirectoryConfig& config;
    const std::string& trustStoreFolder;
    std::unique_ptr<DirectoryConnection> connection;
    std::vector<std::string> tried;
    DirectoryOutcome outcome;
};

} // namespace

DirectoryOutcome Converse(const DirectoryConfig& config, const std::string& trustStoreFolder,
                          const std::optional<DirectoryCredentials>& credentials) {
    return Conversation(config, trustStoreFolder).Run(credentials);
}

} // namespace Kyr::PlatformServices
