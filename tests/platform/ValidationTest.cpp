#include <gtest/gtest.h>

#include "Kyr/System/Commons/Validation/Rules.h"

using Kyr::String;
using namespace Kyr::System::Commons::Validation;

TEST(ValidationRulesTest, EachRuleAnswersAndReportsItsMessage) {
    auto sizeRule = std::make_shared<DelegateRule>("Size", [](const String& v) { return !v.empty() && v.size() <= 3; });
    auto illegal = std::make_shared<LegalElementRule>("Illegal", std::vector<String>{"\\", "root"}, false);
    auto legal = std::make_shared<LegalElementRule>("Legal", std::vector<String>{"a", "b"}, true);
    struct Case {
        const IValidationRule* rule;
        String value;
        bool passes;
        String message;
    };
    const Case cases[] = {
        {sizeRule.get(), "abc", true, ""},
        {sizeRule.get(), "", false, "Input 'Size' is not valid!"},
        {sizeRule.get(), "abcd", false, "Input 'Size' is not valid!"},
        {illegal.get(), "\\", false, "Input 'Illegal' has an illegal element!"},
        {illegal.get(), "a\\b", true, ""},
        {illegal.get(), "Root", true, ""},
        {legal.get(), "a", true, ""},
        {legal.get(), "ab", false, "Input 'Legal' has an undefined element!"},
    };
    for (const Case& c : cases) {
        std::vector<String> errors;
        EXPECT_EQ(c.rule->Validate(c.value, errors), c.passes) << c.value;
        EXPECT_EQ(errors, c.passes ? std::vector<String>{} : std::vector<String>{c.message}) << c.value;
    }
}

TEST(ValidationRulesTest, AndRuleStopsAtTheFirstFailure) {
    int secondCalls = 0;
    AndRule rule({std::make_shared<DelegateRule>("First", [](const String& v) { return v != "bad"; }),
                  std::make_shared<DelegateRule>("Second", [&](const String&) { return ++secondCalls, false; })});
    std::vector<String> errors;
    EXPECT_FALSE(rule.Validate("bad", errors));
    EXPECT_EQ(secondCalls, 0);
    EXPECT_EQ(errors, std::vector<String>{"Input 'First' is not valid!"});

    errors.clear();
    EXPECT_FALSE(rule.Validate("good", errors));
    EXPECT_EQ(secondCalls, 1);
    EXPECT_EQ(errors, std::vector<String>{"Input 'Second' is not valid!"});
    EXPECT_TRUE(AndRule({}).Validate("x", errors));
}
