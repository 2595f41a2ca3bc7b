// The ruleset model in both directions and its input checks, and the collection's document parsing.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Kyr/System/Commons/Exceptions.h"
#include "config/PasswordRulesConfig.h"
#include "config/PasswordRuleset.h"
#include "JsonTestSupport.h"

namespace {

using Kyr::System::Commons::ArgumentException;
using Kyr::System::Commons::ParseException;
using Kyr::System::Um::Services::PasswordPolicyInterval;
using Kyr::System::Um::Services::Internal::Roleruleset;
using namespace Kyr::Services::Modules::Wbm::Um::Internal::Config;
using PolicyTests::Edit;
using PolicyTests::WriteCompact;

const std::string validRuleset =
    R"({"roleRulesetName":"admin","passwordPolicyParameter":{"allowedASCIISymbols":"!#$","reusedGenerationCount":3,)"
    R"("allowedPasswordChanges":4,"intervalType":"Week","intervalCount":5,"blockUsername":true,"blockReusedPasswords":false,)"
    R"("checkBlockList":true,"checkPwChangableInterval":false,"minCharCount":12,"minASCIICount":1,"minMixedCharCount":2,)"
    R"("minNumberCount":3,"minSymbolCount":0,"minUnicodeCount":4294967295},"expirationPolicyParameter":{"policyActive":true,)"
    R"("lockUserActive":false,"daysToExpiration":90,"daysToWarning":7}})";

Roleruleset MakeAdminRuleset() {
    Roleruleset ruleset;
    ruleset.roleRulesetName = "admin";
    auto& policy = ruleset.passwordPolicy;
    policy.allowedASCIISymbols = "!#$";
    policy.reusedGenerationCount = 3;
    policy.allowedPasswordChanges = 4;
    policy.intervalType = PasswordPolicyInterval::Week;
    policy.intervalCount = 5;
    policy.blockUsername = true;
    policy.checkBlockList = true;
    policy.minCharCount = 12;
    policy.minASCIICount = 1;
    policy.minMixedCharCount = 2;
    policy.minNumberCount = 3;
    policy.minUnicodeCount = 4294967295u;
    ruleset.expirationPolicy.policyActive = true;
    ruleset.expirationPolicy.daysToExpiration = 90;
    ruleset.expirationPolicy.daysToWarning = 7;
    return ruleset;
}

std::string ToJsonText(const PasswordRuleset& ruleset) {
    rapidjson::Document document;
    document.SetObject();
    ruleset.ToJson(document, document);
    return WriteCompact(document);
}

void ParseRuleset(PasswordRuleset& ruleset, const std::string& json) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    ruleset.ParseJson(document);
}

TEST(PasswordRuleset, WritesEveryFieldInTheOrderOfTheServiceStruct) {
    EXPECT_EQ(ToJsonText(PasswordRuleset(MakeAdminRuleset())), validRuleset);
}

TEST(PasswordRuleset, ReadsBackWhatItWrote) {
    PasswordRuleset parsed;
    ParseRuleset(parsed, validRuleset);
    EXPECT_EQ(ToJsonText(parsed), validRuleset);
    EXPECT_EQ(parsed.GetRoleruleset().passwordPolicy.intervalType, PasswordPolicyInterval::Week);
}

enum class Outcome { Accepted, Argument, Parse, OtherException };

struct RulesetCase {
    const char* name;
    const char* path;
    std::string replacement;
    Outcome outcome;
    std::string message;
};

std::string uintMessage(const char* key, const char* object) {
    return std::string("Element \"") + key + "\" in Object \"" + object + "\" must have an unsigned int data type  ";
}

class PasswordRulesetInput : public ::testing::TestWithParam<RulesetCase> {};

TEST_P(PasswordRulesetInput, IsAcceptedOrRefusedWithItsMessage) {
    const RulesetCase& testCase = GetParam();
    PasswordRuleset ruleset;
    const std::string json = Edit(validRuleset, testCase.path, testCase.replacement);
    switch (testCase.outcome) {
    case Outcome::Accepted:
        EXPECT_NO_THROW(ParseRuleset(ruleset, json));
        break;
    case Outcome::Argument:
        try {
            ParseRuleset(ruleset, json);
            FAIL() << "accepted";
        } catch (const ArgumentException& error) {
            EXPECT_EQ(error.GetMessage(), testCase.message);
            EXPECT_EQ(error.GetArgumentName(), "arg");
        }
        break;
    case Outcome::Parse:
        try {
            ParseRuleset(ruleset, json);
            FAIL() << "accepted";
        } catch (const ParseException& error) {
            EXPECT_EQ(error.GetMessage(), testCase.message);
        }
        break;
    case Outcome::OtherException:
        try {
            ParseRuleset(ruleset, json);
            FAIL() << "accepted";
        } catch (const ParseException&) {
            FAIL() << "a bad interval text is not a parse error";
        } catch (const Kyr::Exception& error) {
            EXPECT_EQ(error.GetMessage(), testCase.message);
        }
        break;
    }
}

const std::string tooLong = "Input string is too long";

INSTANTIATE_TEST_SUITE_P(
    Boundaries, PasswordRulesetInput,
    ::testing::Values(
        RulesetCase{"Name127", "/roleRulesetName", "\"" + std::string(127, 'n') + "\"", Outcome::Accepted, ""},
        RulesetCase{"Name128", "/roleRulesetName", "\"" + std::string(128, 'n') + "\"", Outcome::Argument, tooLong},
        RulesetCase{"Symbols63", "/passwordPolicyParameter/allowedASCIISymbols", "\"" + std::string(63, '!') + "\"",
                    Outcome::Accepted, ""},
        RulesetCase{"Symbols64", "/passwordPolicyParameter/allowedASCIISymbols", "\"" + std::string(64, '!') + "\"",
                    Outcome::Argument, tooLong},
        RulesetCase{"UIntZero", "/passwordPolicyParameter/minCharCount", "0", Outcome::Accepted, ""},
        RulesetCase{"UIntTooLarge", "/passwordPolicyParameter/minCharCount", "4294967296", Outcome::Parse,
                    uintMessage("minCharCount", "passwordPolicyParameter")},
        RulesetCase{"UIntNegative", "/expirationPolicyParameter/daysToWarning", "-1", Outcome::Parse,
                    uintMessage("daysToWarning", "expirationPolicyParameter")},
        RulesetCase{"UIntFloat", "/passwordPolicyParameter/intervalCount", "1.0", Outcome::Parse,
                    uintMessage("intervalCount", "passwordPolicyParameter")},
        RulesetCase{"UIntAsString", "/passwordPolicyParameter/reusedGenerationCount", "\"3\"", Outcome::Parse,
                    uintMessage("reusedGenerationCount", "passwordPolicyParameter")},
        RulesetCase{"BoolAsNumber", "/passwordPolicyParameter/blockUsername", "1", Outcome::Parse,
                    "Element \"blockUsername\" in Object \"passwordPolicyParameter\" must have a bool data type  "},
        RulesetCase{"NameMissing", "/roleRulesetName", "<erase>", Outcome::Parse,
                    "Element \"roleRulesetName\" in missing in root object \"passwordRoleRulesets\" "},
        RulesetCase{"LastKeyMissing", "/expirationPolicyParameter/daysToWarning", "<erase>", Outcome::Parse,
                    "Element \"daysToWarning\" in missing in root object \"expirationPolicyParameter\" "},
        RulesetCase{"PasswordPolicyArray", "/passwordPolicyParameter", "[]", Outcome::Parse,
                    "Invalid password policy parameter object"},
        RulesetCase{"PasswordPolicyMissing", "/passwordPolicyParameter", "<erase>", Outcome::Parse,
                    "Invalid password policy parameter object"},
        RulesetCase{"ExpirationPolicyMissing", "/expirationPolicyParameter", "<erase>", Outcome::Parse,
                    "Invalid expiration policy parameter object!"},
        RulesetCase{"IntervalUnknown", "/passwordPolicyParameter/intervalType", "\"Fortnight\"", Outcome::OtherException,
                    "Invalid string for Enum 'Kyr::System::Um::Services::PasswordPolicyInterval' occurs: Fortnight"}),
    [](const ::testing::TestParamInfo<RulesetCase>& info) { return info.param.name; });

TEST(PasswordRuleset, KeepsWhatWasReadBeforeAFailure) {
    PasswordRuleset ruleset;
    EXPECT_THROW(ParseRuleset(ruleset, Edit(validRuleset, "/expirationPolicyParameter", "<erase>")), ParseException);
    EXPECT_EQ(ruleset.GetRoleruleset().passwordPolicy.minCharCount, 12u);
}

// ---- The collection ------------------------------------------------------------------------------

std::string Collection(const std::string& elements) { return R"({"passwordRoleRulesets":[)" + elements + "]}"; }

std::string Named(const std::string& name, std::uint32_t minCharCount = 12) {
    return Edit(Edit(validRuleset, "/roleRulesetName", "\"" + name + "\""), "/passwordPolicyParameter/minCharCount",
                std::to_string(minCharCount));
}

struct CollectionCase {
    const char* name;
    std::string body;
    bool parsed;
    std::size_t rulesetsKept;
};

class PasswordRulesConfigParse : public ::testing::TestWithParam<CollectionCase> {};

TEST_P(PasswordRulesConfigParse, AppendsUpToTheFirstBadElement) {
    PasswordRulesConfig config;
    config.AddRoleRuleset(MakeAdminRuleset()); // parsing appends, it does not clear
    EXPECT_EQ(config.ParseJson(GetParam().body), GetParam().parsed);
    EXPECT_EQ(config.GetRulesets().size(), 1 + GetParam().rulesetsKept);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, PasswordRulesConfigParse,
    ::testing::Values(CollectionCase{"NotJson", "admin=1", false, 0}, CollectionCase{"RootArray", "[]", false, 0},
                      CollectionCase{"NoArray", R"({"rulesets":[]})", false, 0},
                      CollectionCase{"ArrayIsObject", R"({"passwordRoleRulesets":{}})", false, 0},
                      CollectionCase{"EmptyArray", Collection(""), true, 0},
                      CollectionCase{"Two", Collection(Named("admin") + "," + Named("default")), true, 2},
                      CollectionCase{"SecondNotObject", Collection(Named("admin") + ",1"), false, 1},
                      CollectionCase{"SecondMalformed",
                                     Collection(Named("admin") + "," +
                                                Edit(Named("default"), "/passwordPolicyParameter/minCharCount", "-1")),
                                     false, 1},
                      CollectionCase{"SecondTooLong", Collection(Named("admin") + "," + Named(std::string(128, 'x'))),
                                     false, 1}),
    [](const ::testing::TestParamInfo<CollectionCase>& info) { return info.param.name; });

TEST(PasswordRulesConfig, LooksUpTheFirstRulesetOfExactlyThatName) {
    PasswordRulesConfig config;
    ASSERT_TRUE(config.ParseJson(Collection(Named("Admin", 1) + "," + Named("admin", 2) + "," + Named("admin", 3))));

    Roleruleset found;
    ASSERT_TRUE(config.GetRscRoleRuleSet("admin", found));
    EXPECT_EQ(found.passwordPolicy.minCharCount, 2u);
    EXPECT_STREQ(found.roleRulesetName.c_str(), "admin");
    EXPECT_TRUE(config.CheckRscRoleRuleSetExists("Admin"));
    EXPECT_FALSE(config.CheckRscRoleRuleSetExists("admi"));
    EXPECT_FALSE(config.CheckRscRoleRuleSetExists("admin "));

    Roleruleset untouched;
    untouched.passwordPolicy.minCharCount = 77;
    EXPECT_FALSE(config.GetRscRoleRuleSet("default", untouched));
    EXPECT_EQ(untouched.passwordPolicy.minCharCount, 77u);
}

TEST(PasswordRulesConfig, WritesTheRulesetsInListOrder) {
    PasswordRulesConfig config;
    Roleruleset fallback = MakeAdminRuleset();
    fallback.roleRulesetName = "default";
    config.AddRoleRuleset(MakeAdminRuleset());
    config.AddRoleRuleset(fallback);

    rapidjson::Document document;
    document.SetObject();
    config.ToJson(document, document);
    EXPECT_EQ(WriteCompact(document), Collection(validRuleset + "," + Named("default")));
}

} // namespace
