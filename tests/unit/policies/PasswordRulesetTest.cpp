// The ruleset model in both directions and the input it refuses.
#include "PolicyTestSupport.h"

#include "Kyr/System/Commons/Exceptions.h"
#include "config/PasswordRuleset.h"
#include "fakes/JsonText.h"

namespace {

using namespace PolicyTests;
using Kyr::Services::Modules::Wbm::Um::Internal::Config::PasswordRuleset;
using namespace Kyr::System::Commons;

// Every field distinct, so that a swapped key shows.
const String validRuleset =
    R"({"roleRulesetName":"admin","passwordPolicyParameter":{"allowedASCIISymbols":"!#$","reusedGenerationCount":3,)"
    R"("allowedPasswordChanges":4,"intervalType":"Week","intervalCount":5,"blockUsername":true,"blockReusedPasswords":false,)"
    R"("checkBlockList":true,"checkPwChangableInterval":false,"minCharCount":12,"minASCIICount":1,"minMixedCharCount":2,)"
    R"("minNumberCount":9,"minSymbolCount":0,"minUnicodeCount":4294967295},"expirationPolicyParameter":{"policyActive":true,)"
    R"("lockUserActive":false,"daysToExpiration":90,"daysToWarning":7}})";

// "" when accepted, otherwise the kind of exception and its message.
String ParseOutcome(PasswordRuleset& ruleset, const String& json) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    try {
        ruleset.ParseJson(document);
        return "";
    } catch (const Kyr::Exception& error) {
        const bool argument = dynamic_cast<const ArgumentException*>(&error) != nullptr;
        const String kind = argument ? "argument " + static_cast<const ArgumentException&>(error).GetArgumentName() + ": "
                            : dynamic_cast<const ParseException*>(&error) != nullptr ? "parse: " : "other: ";
        return kind + error.GetMessage();
    }
}

TEST(PasswordRuleset, WritesWhatItReadInKeyOrder) {
    PasswordRuleset parsed;
    ASSERT_EQ(ParseOutcome(parsed, validRuleset), "");
    rapidjson::Document document(rapidjson::kObjectType);
    parsed.ToJson(document, document);
    EXPECT_EQ(Kyr::Testing::ToJson(document), validRuleset);
}

TEST(PasswordRuleset, RefusesWhatDoesNotFitTheServiceStruct) {
    const String tooLong = "argument arg: Input string is too long";
    const auto notUInt = [](const char* name, const char* object) {
        return "parse: Element \"" + String(name) + "\" in Object \"" + object + "\" must have an unsigned int data type  ";
    };
    const std::vector<std::vector<String>> cases = { // replace, by, outcome
        {R"("admin")", '"' + String(127, 'n') + '"', ""},
        {R"("admin")", '"' + String(128, 'n') + '"', tooLong},
        {R"("!#$")", '"' + String(63, '!') + '"', ""},
        {R"("!#$")", '"' + String(64, '!') + '"', tooLong},
        {R"("minCharCount":12)", R"("minCharCount":4294967296)", notUInt("minCharCount", "passwordPolicyParameter")},
        {R"("daysToWarning":7)", R"("daysToWarning":-1)", notUInt("daysToWarning", "expirationPolicyParameter")},
        {R"("blockUsername":true)", R"("blockUsername":1)",
         R"(parse: Element "blockUsername" in Object "passwordPolicyParameter" must have a bool data type  )"},
        {R"("roleRulesetName")", R"("name")", R"(parse: Element "roleRulesetName" in missing in root object "passwordRoleRulesets" )"},
        {R"("passwordPolicyParameter":{)", R"("passwordPolicyParameter":[],"x":{)", "parse: Invalid password policy parameter object"},
        {R"("expirationPolicyParameter")", R"("expiration")", "parse: Invalid expiration policy parameter object!"},
        {R"("Week")", R"("Fortnight")", "other: Invalid string for Enum 'Kyr::System::Um::Services::PasswordPolicyInterval' occurs: Fortnight"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c[1].substr(0, 40));
        PasswordRuleset ruleset;
        EXPECT_EQ(ParseOutcome(ruleset, Replace(validRuleset, c[0], c[1])), c[2]);
    }
}

} // namespace
