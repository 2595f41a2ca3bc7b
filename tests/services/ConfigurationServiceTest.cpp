#include <fstream>

#include "Defaults.h"

#include "ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

using Um::UserManagerConfigError;
using E = Um::UserManagerConfigError;
using Um::Internal::Roleruleset;
using Um::Internal::SessionPolicyParameter;

struct Configuration : ServicesTest {
    Roleruleset DefaultRuleset() {
        Roleruleset ruleset;
        EXPECT_EQ(Config()->GetActiveDefaultRoleRuleset(ruleset), E::NoError);
        return ruleset;
    }
};

struct RulesetCase { const char* name; void (*change)(Roleruleset&); UserManagerConfigError expected; };

class RulesetValidation : public Configuration, public ::testing::WithParamInterface<RulesetCase> {};

TEST_P(RulesetValidation, RefusesBadValuesAndStoresNothing) {
    Roleruleset ruleset = DefaultRuleset();
    GetParam().change(ruleset);
    EXPECT_EQ(Config()->SetDefaultRoleRuleset(ruleset), GetParam().expected);
    // Stored when accepted, nothing stored otherwise.
    const Roleruleset stored = DefaultRuleset(), expected = GetParam().expected == E::NoError ? ruleset : Ps::DefaultDefaultRuleset();
    EXPECT_EQ(stored.passwordPolicy.minCharCount, expected.passwordPolicy.minCharCount);
    EXPECT_EQ(stored.passwordPolicy.allowedASCIISymbols, expected.passwordPolicy.allowedASCIISymbols);
    EXPECT_EQ(stored.expirationPolicy.daysToWarning, expected.expirationPolicy.daysToWarning);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RulesetValidation,
    ::testing::Values(
        RulesetCase{"Valid", [](auto& r) { r.passwordPolicy.minCharCount = 10; r.passwordPolicy.allowedASCIISymbols = " !-"; }, E::NoError},
        RulesetCase{"NameCase", [](auto& r) { r.roleRulesetName = "Default"; }, E::RulesetNameMismatch},
        RulesetCase{"ZeroLength", [](auto& r) { r.passwordPolicy.minCharCount = 0; }, E::ValueOutOfRange},
        RulesetCase{"LengthAboveMaximum", [](auto& r) { r.passwordPolicy.minCharCount = 128; }, E::ValueOutOfRange},
        RulesetCase{"TooManyMinimums", [](auto& r) { r.passwordPolicy.minNumberCount = 60; r.passwordPolicy.minUnicodeCount = 34; }, E::MinimumCountsExceedLength},
        RulesetCase{"AlphanumericInSymbols", [](auto& r) { r.passwordPolicy.allowedASCIISymbols = "!a1"; }, E::InvalidSymbolSet},
        RulesetCase{"NonAsciiSymbol", [](auto& r) { r.passwordPolicy.allowedASCIISymbols = "\xC2\xA7"; }, E::InvalidSymbolSet},
        RulesetCase{"SymbolsNeededButNoneAllowed", [](auto& r) { r.passwordPolicy.allowedASCIISymbols = ""; r.passwordPolicy.minSymbolCount = 1; }, E::InvalidSymbolSet},
        RulesetCase{"ReuseTooDeep", [](auto& r) { r.passwordPolicy.reusedGenerationCount = 25; }, E::ValueOutOfRange},
        RulesetCase{"BadInterval", [](auto& r) { r.passwordPolicy.intervalType = static_cast<Um::PasswordPolicyInterval>(9); }, E::InvalidArgument},
        RulesetCase{"IntervalActiveWithoutChanges", [](auto& r) { r.passwordPolicy.checkPwChangableInterval = true; r.passwordPolicy.allowedPasswordChanges = 0; }, E::ValueOutOfRange},
        RulesetCase{"WarningNotBelowExpiry", [](auto& r) { r.expirationPolicy.policyActive = true; r.expirationPolicy.daysToExpiration = 14; }, E::WarningDaysNotBelowExpirationDays},
        RulesetCase{"WarningIrrelevantWhenInactive", [](auto& r) { r.expirationPolicy.daysToWarning = 80; }, E::NoError},
        RulesetCase{"ExpiryActiveZeroDays", [](auto& r) { r.expirationPolicy.policyActive = true; r.expirationPolicy.daysToExpiration = 0; r.expirationPolicy.daysToWarning = 0; }, E::ValueOutOfRange}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Configuration, AdminRulesetIsStricterAndTakesOnlyItsName) {
    Roleruleset admin, ruleset = DefaultRuleset();
    ASSERT_EQ(Config()->GetActiveAdminRoleRuleset(admin), E::NoError);
    EXPECT_EQ(admin.roleRulesetName.ToString(), "admin");
    EXPECT_GT(admin.passwordPolicy.minCharCount, ruleset.passwordPolicy.minCharCount);
    EXPECT_EQ(Config()->SetAdminRoleRuleset(ruleset), E::RulesetNameMismatch);
    ruleset.roleRulesetName = "admin";
    EXPECT_EQ(Config()->SetAdminRoleRuleset(ruleset), E::NoError);
}

TEST_F(Configuration, SessionPolicyValidation) {
    struct Case { void (*change)(SessionPolicyParameter&); UserManagerConfigError expected; };
    const Case cases[] = {
        {[](auto& p) { p.timeoutInitialSeconds = p.timeoutMaximumSeconds + 1; }, E::InitialTimeoutAboveMaximum},
        {[](auto& p) { p.timeoutIncrementSeconds = p.timeoutMaximumSeconds + 1; }, E::IncrementAboveMaximum},
        {[](auto& p) { p.maxConcurrentSessionsCount = 0; }, E::ValueOutOfRange},
        {[](auto& p) { p.maxSessionTimeMinutes = 0; }, E::ValueOutOfRange},
        {[](auto& p) { p.timeoutMaximumSeconds = 86401; }, E::ValueOutOfRange},
        {[](auto& p) { p.timeoutInitialSeconds = p.timeoutMaximumSeconds; p.issueTimeoutToAdminUsers = false; }, E::NoError},
    };
    for (const Case& c : cases) {
        SessionPolicyParameter before, policy, after;
        ASSERT_EQ(Config()->GetSessionPolicyParameter(before), E::NoError);
        policy = before;
        c.change(policy);
        EXPECT_EQ(Config()->SetSessionPolicyParameter(policy), c.expected);
        // Nothing is stored on a refusal; what is stored is what the host's sessions follow.
        after = services->GetSessionPolicy();
        const SessionPolicyParameter& expected = c.expected == E::NoError ? policy : before;
        EXPECT_EQ(after.timeoutInitialSeconds, expected.timeoutInitialSeconds);
        EXPECT_EQ(after.issueTimeoutToAdminUsers, expected.issueTimeoutToAdminUsers);
    }
}

TEST_F(Configuration, BlockListKeepsOrderAndDuplicatesAndRefusesBadEntries) {
    std::vector<Kyr::System::Rsc::RscString<128>> list = {"zeta", "alpha", "zeta"};
    ASSERT_EQ(Config()->SetActivePasswordsBlockList(list), E::NoError);
    EXPECT_EQ(Config()->SetActivePasswordsBlockList({"fine", ""}), E::InvalidBlockListEntry);
    EXPECT_EQ(Config()->SetActivePasswordsBlockList({"line\nbreak"}), E::InvalidBlockListEntry);
    Open(); // and it survives a restart
    std::vector<Kyr::System::Rsc::RscString<128>> stored;
    ASSERT_EQ(Config()->GetActivePasswordsBlockList(stored), E::NoError);
    EXPECT_EQ(stored, list);
}

// What is stored, shown back and switched on: tests/ldap/DirectoryConfigTest.cpp and, through the
// host, ModuleFunctionsTest.cpp; here the refusals before any configuration exists.
TEST_F(Configuration, LdapConfigurationMissingUntilAValidFileIsTaken) {
    Kyr::System::Rsc::RscString<256> path;
    EXPECT_FALSE(Config()->IsLdapConfigurationEnabled());
    EXPECT_EQ(Config()->EnableLdapConfiguration(true), E::LdapConfigurationMissing);
    const std::string upload = directory + "/upload.conf";
    EXPECT_EQ(Config()->SetLdapConfigurationFromFile(upload.c_str(), false), E::NotFound);
    std::ofstream(upload) << "";
    EXPECT_EQ(Config()->SetLdapConfigurationFromFile(upload.c_str(), false), E::LdapConfigurationInvalid);
    std::ofstream(upload) << "server = ldap://ldap.example.test\nstart_tls = no\nunencrypted_connection = allowed\n"
                             "user_base = dc=example,dc=test\ngroup_base = dc=example,dc=test\n"
                             "group_role = Admin : cn=admins,dc=example,dc=test\n";
    EXPECT_EQ(Config()->SetLdapConfigurationFromFile(upload.c_str(), true), E::NotSupported);
    EXPECT_EQ(Config()->GetLdapConfigurationFilePath(path), E::LdapConfigurationMissing);
    ASSERT_EQ(Config()->SetLdapConfigurationFromFile(upload.c_str(), false), E::NoError);
    EXPECT_EQ(Config()->EnableLdapConfiguration(true), E::NoError);
    Open();
    EXPECT_TRUE(Config()->IsLdapConfigurationEnabled()) << "kept over a restart";
}

} // namespace
} // namespace Kyr::Testing
