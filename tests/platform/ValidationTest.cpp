#include <gtest/gtest.h>

#include "Kyr/System/Commons/Validation/Rules.h"

using Kyr::String;
using namespace Kyr::System::Commons::Validation;

TEST(ValidationRulesTest, EachRuleAnswersAndReportsItsMessage) {
    auto size = std::make_shared<DelegateRule>("Size", [](const String& v) { return !v.empty() && v.size() <= 3; });
    auto illegal = std::make_shared<LegalElementRule>("Illegal", std::vector<String>{"\\", "rooted"}, false);
    const LegalElementRule legal("Legal", {"a", "b"}, true);
    const AndRule both({size, illegal});
    const AndRule none({});
    struct Case { const IValidationRule& rule; String value; String message; }; // no message: passes
    const Case cases[] = {
        {*size, "abc", ""},
        {*size, "", "Input 'Size' is not valid!"},
        {*illegal, "\\", "Input 'Illegal' has an illegal element!"},
        {*illegal, "a\\b", ""}, // the whole value is compared
        {legal, "a", ""},
        {legal, "ab", "Input 'Legal' has an undefined element!"},
        {both, "ab", ""},
        {both, "\\", "Input 'Illegal' has an illegal element!"},
        {both, "rooted", "Input 'Size' is not valid!"}, // fails both: stops at the first
        {none, "x", ""},
    };
    for (const Case& c : cases) {
        std::vector<String> errors;
        EXPECT_EQ(c.rule.Validate(c.value, errors), c.message.empty()) << c.value;
        EXPECT_EQ(errors, c.message.empty() ? std::vector<String>{} : std::vector<String>{c.message}) << c.value;
    }
}
