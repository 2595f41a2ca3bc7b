#include <gtest/gtest.h>

#include "PasswordRules.h"
#include "RuleViolationText.h"

namespace Kyr::PlatformServices {
namespace {

PasswordPolicyParameter Policy() {
    PasswordPolicyParameter policy;
    policy.allowedASCIISymbols = "!#-_";
    policy.minCharCount = 1;
    return policy;
}

std::vector<PasswordRule> Rules(const std::vector<RuleViolation>& violations) {
    std::vector<PasswordRule> rules;
    for (const auto& violation : violations) rules.push_back(violation.rule);
    return rules;
}

struct CompositionCase {
    const char* name;
    void (*configure)(PasswordPolicyParameter&);
    const char* password;
    std::vector<PasswordRule> broken;
};

class Composition : public ::testing::TestWithParam<CompositionCase> {};

TEST_P(Composition, ReportsExactlyTheBrokenRules) {
    PasswordPolicyParameter policy = Policy();
    GetParam().configure(policy);
    auto violations = CheckPasswordComposition(policy, GetParam().password, "operator", {"Summer2024", "letmein"});
    EXPECT_EQ(Rules(violations), GetParam().broken);
}

using R = PasswordRule;
INSTANTIATE_TEST_SUITE_P(
    Rules, Composition,
    ::testing::Values(
        // Length counts characters, not bytes: "äöü" is three characters.
        CompositionCase{"LengthInCharacters", [](auto& p) { p.minCharCount = 3; }, "\xC3\xA4\xC3\xB6\xC3\xBC", {}},
        CompositionCase{"TooShort", [](auto& p) { p.minCharCount = 4; }, "\xC3\xA4\xC3\xB6\xC3\xBC", {R::TooShort}},
        CompositionCase{"EmptyAlwaysTooShort", [](auto& p) { p.minCharCount = 0; }, "", {R::TooShort}},
        CompositionCase{"LettersAreAsciiLetters", [](auto& p) { p.minASCIICount = 3; }, "ab12\xC3\xA4", {R::Letters}},
        CompositionCase{"MixedNeedsBothCases", [](auto& p) { p.minMixedCharCount = 2; }, "ABCDEFx", {R::MixedCase}},
        CompositionCase{"MixedMet", [](auto& p) { p.minMixedCharCount = 2; }, "ABab", {}},
        CompositionCase{"Digits", [](auto& p) { p.minNumberCount = 2; }, "abc1", {R::Digits}},
        CompositionCase{"SymbolsOnlyFromAllowedSet", [](auto& p) { p.minSymbolCount = 2; }, "ab!x", {R::Symbols}},
        CompositionCase{"OtherSymbolRefused", [](auto&) {}, "ab$ c", {R::SymbolNotAllowed}},
        CompositionCase{"NonAscii", [](auto& p) { p.minUnicodeCount = 2; }, "abc\xC3\xA4", {R::NonAscii}},
        CompositionCase{"ControlCharacter", [](auto&) {}, "ab\tc", {R::ControlCharacter}},
        CompositionCase{"MalformedUtf8", [](auto&) {}, "ab\xC3", {R::InvalidUtf8}},
        CompositionCase{"OverlongUtf8", [](auto&) {}, "ab\xC0\xAF", {R::InvalidUtf8}},
        CompositionCase{"UserNameIgnoringCase", [](auto& p) { p.blockUsername = true; }, "xxOPERATORxx", {R::ContainsUserName}},
        CompositionCase{"UserNameRuleOff", [](auto&) {}, "xxOPERATORxx", {}},
        CompositionCase{"BlockListWholeIgnoringCase", [](auto& p) { p.checkBlockList = true; }, "LETMEIN", {R::BlockListed}},
        CompositionCase{"BlockListNotPartOfPassword", [](auto& p) { p.checkBlockList = true; }, "letmein2", {}},
        CompositionCase{"BlockListOff", [](auto&) {}, "letmein", {}},
        CompositionCase{"EveryRuleAtOnce",
                        [](auto& p) {
                            p.minCharCount = 20; p.minASCIICount = 20; p.minMixedCharCount = 10; p.minNumberCount = 5;
                            p.minSymbolCount = 2; p.minUnicodeCount = 1; p.blockUsername = true; p.checkBlockList = true;
                        },
                        "summer2024", {R::TooShort, R::Letters, R::MixedCase, R::Digits, R::Symbols, R::NonAscii, R::BlockListed}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(PasswordRules, ShortUserNamesAreNotSearchedFor) {
    PasswordPolicyParameter policy = Policy();
    policy.blockUsername = true;
    EXPECT_TRUE(CheckPasswordComposition(policy, "Jo-Jo-Jo", "jo", {}).empty());
}

TEST(ViolationText, EverythingBrokenStillFitsAndKeepsWholeWords) {
    EXPECT_EQ(DescribeViolations({{R::ChangeLimit, 1, 2, PasswordPolicyInterval::Week}}), "Max 1 change per 2 weeks.");
    std::vector<RuleViolation> all;
    for (int rule = 0; rule <= static_cast<int>(R::ChangeLimit); ++rule)
        all.push_back({static_cast<PasswordRule>(rule), 127, 1000, PasswordPolicyInterval::Month});
    std::string text = DescribeViolations(all);
    EXPECT_LE(text.size(), MaxErrorTextBytes);
    // Shortened by whole items, closed by the ellipsis; the same input gives the same text.
    EXPECT_EQ(text.substr(text.size() - 3), "\u2026");
    EXPECT_EQ(text.rfind(". \u2026"), text.size() - 5);
    EXPECT_EQ(text, DescribeViolations(all));
}

TEST(ViolationText, ShortFormsAreUsedBeforeCutting) {
    // Every composition rule with two-digit numbers: too long in the long forms, fits in the short.
    std::vector<RuleViolation> many = {{R::TooShort, 40}, {R::Letters, 20}, {R::MixedCase, 10}, {R::Digits, 10},
                                       {R::Symbols, 10}, {R::NonAscii, 10}, {R::SymbolNotAllowed}, {R::BlockListed},
                                       {R::Reused, 24}};
    std::string text = DescribeViolations(many);
    EXPECT_LE(text.size(), MaxErrorTextBytes);
    EXPECT_EQ(text.find("\u2026"), std::string::npos) << text;
    EXPECT_NE(text.find("Min 40 chars."), std::string::npos) << text;
    EXPECT_NE(text.find("Reused (24)."), std::string::npos) << text;
}

} // namespace
} // namespace Kyr::PlatformServices
