#include "UserManagementService.h"

#include "Kyr/PlatformServices/AuditEvents.h"

#include <algorithm>

#include "ConfigStore.h"
#include "ConfigValidation.h"
#include "Defaults.h"
#include "PasswordRules.h"
#include "RuleViolationText.h"
#include "Schema.h"
#include "SecondFactorStore.h"

namespace Kyr::PlatformServices {

using Um::Internal::Roleruleset;
using Um::Internal::SessionPolicyParameter;
using Um::Internal::UserPasswordInfo;

namespace {

// The platform design gives each thread its own last error text.
std::string& LastErrorText() {
    thread_local std::string text;
    return text;
}

std::int64_t IntervalSeconds(PasswordPolicyInterval type, std::uint32_t count) {
    constexpr std::int64_t Hour = 3600, Day = 24 * Hour;
    std::int64_t unit = type == PasswordPolicyInterval::Hour ? Hour
                        : type == PasswordPolicyInterval::Day ? Day
                        : type == PasswordPolicyInterval::Week ? 7 * Day
                                                               : 30 * Day;
    return unit * count;
}

const char* const UserNotFound = "User not found.";
const char* const DirectoryPasswordText = "A directory user's password is changed in the directory, not on the device.";

} // namespace

UserManagementService::UserManagementService(std::shared_ptr<ServiceContext> context)
    : context(std::move(context)), database(this->context->database) {}

bool UserManagementService::Fail(const std::string& text) {
    LastErrorText() = text.substr(0, MaxErrorTextBytes);
    return false;
}

template <class Operation>
bool UserManagementService::Guarded(const char* name, Operation&& operation) {
    try {
        return operation();
    } catch (const std::exception& error) {
        LogError("{0} failed: {1}", name, error.what());
        return Fail("Internal error, see the device log.");
    }
}

Roleruleset UserManagementService::RulesetOf(const UserRecord& user) {
    std::optional<Roleruleset> ruleset =
        ConfigStore(database).LoadRuleset(user.adminRuleset ? AdminRulesetName : DefaultRulesetName);
    if (ruleset) return *ruleset;
    return user.adminRuleset ? DefaultAdminRuleset() : DefaultDefaultRuleset();
}

PasswordAge UserManagementService::AgeOf(const UserRecord& user) {
    return ComputePasswordAge(RulesetOf(user).expirationPolicy, user.passwordChangedAt, context->Now());
}

UserPasswordInfo UserManagementService::InfoOf(const UserRecord& user) {
    PasswordAge age = AgeOf(user);
    UserPasswordInfo info;
    info.passwordState = age.state;
    info.timeToExpire = age.secondsToExpire;
    info.userName = user.name;
    info.isUsingInitialPassword = user.initialPassword;
    return info;
}

bool UserManagementService::HoldsRole(const UserRecord& user, const std::string& role) {
    std::vector<std::string> roles = UserStore(database).RolesOf(user.id);
    return std::find(roles.begin(), roles.end(), role) != roles.end();
}

bool UserManagementService::AddUser(const RscString<64>& userNameArg, const RscString<128>& passwordArg) {
    return Guarded("AddUser", [&] {
        std::string name = userNameArg.ToString(), password = passwordArg.ToString();
        if (!IsValidUserName(name)) return Fail("Invalid user name.");
        std::vector<RuleViolation> violations;
        {
            auto lock = database.Lock();
            if (UserStore(database).NameTaken(name)) return Fail("User already exists.");
            ConfigStore config(database);
            Roleruleset ruleset = config.LoadRuleset(DefaultRulesetName).value_or(DefaultDefaultRuleset());
            violations = CheckPasswordComposition(ruleset.passwordPolicy, password, name, config.LoadBlockList());
        }
        if (!violations.empty()) return Fail(DescribeViolations(violations));
        std::string hash = context->hasher.Hash(password);
        Transaction transaction(database);
        UserStore users(database);
        if (users.NameTaken(name)) return Fail("User already exists.");
        users.Add(name, hash, false, context->Now());
        // A directory user of this name may have had a second factor: the new local user starts without.
        SecondFactorStore(database).Remove(name);
        transaction.Commit();
        context->secondFactorIndex.Forget(name);
        LogInfo("User '{0}' added", name);
        return true;
    });
}

bool UserManagementService::RemoveUser(const RscString<64>& userNameArg) {
    return Guarded("RemoveUser", [&] {
        std::string name = userNameArg.ToString();
        Transaction transaction(database);
        UserStore users(database);
        std::optional<UserRecord> user = users.Find(name);
        if (!user) return Fail(UserNotFound);
        if (HoldsRole(*user, AdminRole) && users.CountUsersWithRole(AdminRole) <= 1)
            return Fail("The last administrator cannot be removed.");
        users.Remove(user->id);
        SecondFactorStore(database).Remove(name);
        transaction.Commit();
        context->secondFactorIndex.Forget(name);
        // A user added again under this name later must not inherit these sessions.
        context->sessions.EndSessionsOfUser(name, AuditEvents::EndedUserRemoved);
        LogInfo("User '{0}' removed", name);
        return true;
    });
}

bool UserManagementService::SetUserPassword(const RscString<64>& userNameArg, const RscString<128>& passwordArg) {
    return Guarded("SetUserPassword", [&] {
        std::string name = userNameArg.ToString(), password = passwordArg.ToString();
        std::vector<RuleViolation> violations;
        {
            auto lock = database.Lock();
            std::optional<UserRecord> user = UserStore(database).Find(name);
            if (!user) return Fail(UserNotFound);
            violations = CheckPasswordComposition(RulesetOf(*user).passwordPolicy, password, name,
                                                  ConfigStore(database).LoadBlockList());
        }
        if (!violations.empty()) return Fail(DescribeViolations(violations));
        std::string hash = context->hasher.Hash(password);
        Transaction transaction(database);
        UserStore users(database);
        std::optional<UserRecord> user = users.Find(name);
        if (!user) return Fail(UserNotFound);
        // Set by someone else: the user has to choose an own password at the next login.
        users.SetPassword(user->id, hash, true, context->Now());
        transaction.Commit();
        context->sessions.EndSessionsOfUser(name, AuditEvents::EndedUserChanged);
        LogInfo("Password of user '{0}' set; it must be changed at the next login", name);
        return true;
    });
}

bool UserManagementService::ChangeUserPassword(const RscString<64>& userNameArg, const RscString<128>& currentArg,
                                               const RscString<128>& newArg) {
    return Guarded("ChangeUserPassword", [&] {
        std::string name = userNameArg.ToString(), current = currentArg.ToString(), password = newArg.ToString();
        UserRecord user;
        Roleruleset ruleset;
        std::vector<std::string> blockList, recentHashes;
        std::uint32_t recentChanges = 0;
        bool forced = false, isAdministrator = false;
        SessionPolicyParameter sessionPolicy;
        {
            auto lock = database.Lock();
            UserStore users(database);
            std::optional<UserRecord> found = users.Find(name);
            if (!found && context->directoryUsers.RolesOf(name)) return Fail(DirectoryPasswordText);
            if (!found) return Fail(UserNotFound);
            user = *found;
            ruleset = RulesetOf(user);
            blockList = ConfigStore(database).LoadBlockList();
            const auto& policy = ruleset.passwordPolicy;
            if (policy.blockReusedPasswords) recentHashes = users.RecentHashes(user.id, policy.reusedGenerationCount);
            std::int64_t window = IntervalSeconds(policy.intervalType, policy.intervalCount);
            recentChanges = users.CountOwnChangesSince(user.id, context->Now() - window);
            forced = user.initialPassword || IsExpired(AgeOf(user).state);
            isAdministrator = HoldsRole(user, AdminRole);
            sessionPolicy = ConfigStore(database).LoadSessionPolicy();
        }
        // Guessing the current password here is as slow as guessing it at the login.
        PasswordAttempts* attempts = context->options.passwordAttempts;
        if (attempts) {
            if (auto wait = attempts->BeginAttempt(name, sessionPolicy, isAdministrator)) {
                LogError("Password change of user '{0}' refused: waiting {1} s after wrong passwords", name, wait->count());
                return Fail("Too many wrong passwords: try again in " + std::to_string(wait->count()) + " seconds.");
            }
        }
        if (!context->hasher.Verify(user.passwordHash, current)) {
            if (attempts) attempts->RecordFailure(name, sessionPolicy, isAdministrator);
            LogError("Password change of user '{0}' refused: wrong current password", name);
            return Fail("Current password is wrong.");
        }
        if (attempts) attempts->RecordSuccess(name);
        const auto& policy = ruleset.passwordPolicy;
        std::vector<RuleViolation> violations = CheckPasswordComposition(policy, password, name, blockList);
        // The current password is never a new one; with the reuse rule the older ones are not either.
        bool reused = password == current ||
                      std::any_of(recentHashes.begin(), recentHashes.end(),
                                  [&](const std::string& hash) { return context->hasher.Verify(hash, password); });
        if (reused) {
            std::uint32_t generations = policy.blockReusedPasswords ? std::max<std::uint32_t>(policy.reusedGenerationCount, 1) : 1;
            violations.push_back({PasswordRule::Reused, generations});
        }
        // A change the user is made to do (initial or expired password) is never refused for the limit.
        if (policy.checkPwChangableInterval && !forced && recentChanges >= policy.allowedPasswordChanges)
            violations.push_back({PasswordRule::ChangeLimit, policy.allowedPasswordChanges, policy.intervalCount,
                                  policy.intervalType});
        if (!violations.empty()) return Fail(DescribeViolations(violations));

        std::string hash = context->hasher.Hash(password);
        Transaction transaction(database);
        UserStore users(database);
        std::optional<UserRecord> now = users.Find(name);
        if (!now || now->passwordHash != user.passwordHash) return Fail("Password was changed meanwhile; try again.");
        std::int64_t time = context->Now();
        users.SetPassword(user.id, hash, false, time);
        // Only voluntary changes count against the changes-per-interval limit.
        if (!forced) users.RecordOwnChange(user.id, time);
        transaction.Commit();
        LogInfo("User '{0}' changed the own password", name);
        return true;
    });
}

RscString<128> UserManagementService::GetLastErrorText() { return RscString<128>(LastErrorText()); }

std::vector<RscString<64>> UserManagementService::GetUsers() {
    std::vector<RscString<64>> names;
    Guarded("GetUsers", [&] {
        auto lock = database.Lock();
        for (const UserRecord& user : UserStore(database).All()) names.emplace_back(user.name);
        return true;
    });
    return names;
}

bool UserManagementService::HasAdminRuleset(const RscString<64>& userName) {
    return Guarded("HasAdminRuleset", [&] {
        auto lock = database.Lock();
        std::optional<UserRecord> user = UserStore(database).Find(userName.ToString());
        return user ? user->adminRuleset : Fail(UserNotFound);
    });
}

bool UserManagementService::SetAdminRuleset(const RscString<64>& userName, bool hasAdminRuleset) {
    return Guarded("SetAdminRuleset", [&] {
        Transaction transaction(database);
        UserStore users(database);
        std::optional<UserRecord> user = users.Find(userName.ToString());
        if (!user) return Fail(UserNotFound);
        users.SetAdminRuleset(user->id, hasAdminRuleset);
        transaction.Commit();
        return true;
    });
}

std::vector<RscString<64>> UserManagementService::GetUserRoles(const RscString<64>& userName) {
    std::vector<RscString<64>> roles;
    Guarded("GetUserRoles", [&] {
        auto lock = database.Lock();
        UserStore users(database);
        std::optional<UserRecord> user = users.Find(userName.ToString());
        if (!user) return Fail(UserNotFound);
        for (const std::string& role : users.RolesOf(user->id)) roles.emplace_back(role);
        return true;
    });
    return roles;
}

std::vector<RscString<64>> UserManagementService::GetAllRoles() {
    std::vector<RscString<64>> roles;
    Guarded("GetAllRoles", [&] {
        auto lock = database.Lock();
        for (const std::string& role : UserStore(database).AllRoles()) roles.emplace_back(role);
        return true;
    });
    return roles;
}

bool UserManagementService::SetUserRoles(const RscString<64>& userName, const std::vector<RscString<64>>& rolesArg) {
    return Guarded("SetUserRoles", [&] {
        std::vector<std::string> roles;
        for (const auto& role : rolesArg) roles.push_back(role.ToString());
        std::sort(roles.begin(), roles.end());
        roles.erase(std::unique(roles.begin(), roles.end()), roles.end());

        Transaction transaction(database);
        UserStore users(database);
        std::optional<UserRecord> user = users.Find(userName.ToString());
        if (!user) return Fail(UserNotFound);
        for (const std::string& role : roles) {
            if (role == UnauthenticatedRole) return Fail("Role Unauthenticated is for callers without login.");
            if (!users.RoleExists(role)) return Fail("Unknown role: " + role);
        }
        bool keepsAdmin = std::binary_search(roles.begin(), roles.end(), std::string(AdminRole));
        if (!keepsAdmin && HoldsRole(*user, AdminRole) && users.CountUsersWithRole(AdminRole) <= 1)
            return Fail("The last administrator must keep the role Admin.");
        std::vector<std::string> previous = users.RolesOf(user->id);
        std::sort(previous.begin(), previous.end());
        users.SetRoles(user->id, roles);
        transaction.Commit();
        // Sessions carry what the user was allowed at login: with other roles, the user logs in again.
        if (previous != roles) context->sessions.EndSessionsOfUser(user->name, AuditEvents::EndedUserChanged);
        LogInfo("Roles of user '{0}' set", user->name);
        return true;
    });
}

bool UserManagementService::GetAllUsersPasswordInfo(std::vector<UserPasswordInfo>& infos) {
    return Guarded("GetAllUsersPasswordInfo", [&] {
        auto lock = database.Lock();
        std::vector<UserPasswordInfo> result;
        for (const UserRecord& user : UserStore(database).All()) result.push_back(InfoOf(user));
        infos = std::move(result);
        return true;
    });
}

bool UserManagementService::GetPasswordInfoBySecurityToken(const Kyr::System::Acf::SecurityToken& token,
                                                           UserPasswordInfo& info) {
    return Guarded("GetPasswordInfoBySecurityToken", [&] {
        if (token.IsAnonymous()) return Fail("No session.");
        std::optional<String> userName = context->sessions.FindUserOfSession(token.GetSessionId());
        if (!userName) return Fail("No session.");
        auto lock = database.Lock();
        std::optional<UserRecord> user = UserStore(database).Find(*userName);
        if (!user && context->directoryUsers.RolesOf(*userName)) {
            // A directory user: no password on the device, so nothing expires here.
            info = UserPasswordInfo();
            info.userName = *userName;
            return true;
        }
        if (!user) return Fail(UserNotFound);
        info = InfoOf(*user);
        return true;
    });
}

bool UserManagementService::GetAuthenticationRequired() {
    if (!context->options.authenticationDeactivatable) return true;
    bool required = true;
    Guarded("GetAuthenticationRequired", [&] {
        auto lock = database.Lock();
        required = ConfigStore(database).GetSetting(SettingAuthenticationRequired, 1) != 0;
        return true;
    });
    return required;
}

bool UserManagementService::GetAuthenticationDeactivatable() { return context->options.authenticationDeactivatable; }

bool UserManagementService::SetAuthenticationRequired(bool required) {
    if (!required && !context->options.authenticationDeactivatable)
        return Fail("Authentication cannot be switched off on this device.");
    return Guarded("SetAuthenticationRequired", [&] {
        Transaction transaction(database);
        ConfigStore(database).SetSetting(SettingAuthenticationRequired, required ? 1 : 0);
        transaction.Commit();
        LogInfo("Authentication required: {0}", required);
        return true;
    });
}

LoginCheck UserManagementService::CheckLogin(const std::string& userName, const std::string& password) {
    LoginCheck check;
    std::optional<UserRecord> user;
    {
        auto lock = database.Lock();
        user = UserStore(database).Find(userName);
    }
    if (!user) {
        context->hasher.VerifyDummy(password);
        return check;
    }
    if (!context->hasher.Verify(user->passwordHash, password)) return check;

    {
        auto lock = database.Lock();
        PasswordAge age = AgeOf(*user);
        if (age.state == UserPasswordState::Locked) {
            check.outcome = LoginOutcome::Locked;
            return check;
        }
        check.outcome = LoginOutcome::Success;
        check.isAdministrator = HoldsRole(*user, AdminRole);
        check.passwordChangeRequired = user->initialPassword || IsExpired(age.state);
    }
    if (context->hasher.NeedsRehash(user->passwordHash)) {
        // The hash cost was changed: store the password again at the new cost while we know it (the
        // hash is made outside the database lock, which every request needs).
        std::string hash = context->hasher.Hash(password);
        Transaction transaction(database);
        UserStore(database).ReplaceHash(user->id, user->passwordHash, hash); // unless changed meanwhile
        transaction.Commit();
    }
    return check;
}

bool UserManagementService::IsAdministrator(const std::string& userName) {
    auto lock = database.Lock();
    std::optional<UserRecord> user = UserStore(database).Find(userName);
    if (!user) {
        auto roles = context->directoryUsers.RolesOf(userName);
        return roles && std::find(roles->begin(), roles->end(), AdminRole) != roles->end();
    }
    return HoldsRole(*user, AdminRole);
}

bool UserManagementService::IsPasswordChangeRequired(const std::string& userName) {
    auto lock = database.Lock();
    std::optional<UserRecord> user = UserStore(database).Find(userName);
    return user && (user->initialPassword || IsExpired(AgeOf(*user).state));
}

bool UserManagementService::UserExists(const std::string& userName) {
    auto lock = database.Lock();
    return UserStore(database).Find(userName).has_value() || context->directoryUsers.RolesOf(userName).has_value();
}

bool UserManagementService::IsLocalUser(const std::string& userName) {
    auto lock = database.Lock();
    return UserStore(database).Find(userName).has_value();
}

std::optional<std::string> UserManagementService::CreateInitialAdministrator(const std::string& givenPassword) {
    {
        auto lock = database.Lock();
        if (!UserStore(database).All().empty()) return std::nullopt;
    }
    if (givenPassword.size() > MaxErrorTextBytes) throw std::invalid_argument("Initial password longer than 127 bytes");
    std::string password = givenPassword.empty() ? PasswordHasher::GeneratePassword(16) : givenPassword;
    std::string hash = context->hasher.Hash(password);
    Transaction transaction(database);
    UserStore users(database);
    if (!users.All().empty()) return std::nullopt;
    std::int64_t id = users.Add(InitialAdminName, hash, true, context->Now());
    users.SetRoles(id, {AdminRole});
    transaction.Commit();
    LogInfo("Initial administrator '{0}' created; the password must be changed at the first login", InitialAdminName);
    return password;
}

} // namespace Kyr::PlatformServices
