// The ruleset model in both directions and the input it refuses.
#include "PolicyTestSupport.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Kyr/System/Commons/Exceptions.h"
#include "config/PasswordRuleset.h"

namespace {

using namespace PolicyTests;
using Kyr::Services::Modules::Wbm::Um::Internal::Config::PasswordRuleset;

// Every field distinct, so that a swapped key shows.
const String validRuleset =
    R"({"roleRulesetName":"admin","passwordPolicyParameter":{"allowedASCIISymbols":"!#$","reusedGenerationCount":3,)"
    R"("allowedPasswordChanges":4,"intervalType":"Week","intervalCount":5,"blockUsername":true,"blockReusedPasswords":false,)"
    R"("checkBlockList":true,"checkPwChangableInterval":false,"minCharCount":12,"minASCIICount":1,"minMixedCharCount":2,)"
    R"("minNumberCount":9,"minSymbolCount":0,"minUnicodeCount":4294967295},"expirationPolicyParameter":{"policyActive":true,)"
    R"("lockUserActive":false,"daysToExpiration":90,"daysToWarning":7}})";

String ToJsonText(const PasswordRuleset& ruleset) {
    rapidjson::Document document(rapidjson::kObjectType);
    ruleset.ToJson(document, document);
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return buffer.GetString();
}

// "" when accepted, otherwise the kind of exception and its message.
String ParseOutcome(PasswordRuleset& ruleset, const String& json) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    try {
        ruleset.ParseJson(document);
        return "";
    } catch (const Kyr::System::Commons::ArgumentException& error) {
        return "argument " + error.GetArgumentName() + ": " + error.GetMessage();
    } catch (const Kyr::System::Commons::ParseException& error) {
        return "parse: " + error.GetMessage();
    } catch (const Kyr::Exception& error) {
        return "other: " + error.GetMessage();
    }
}

TEST(PasswordRuleset, WritesWhatItReadInKeyOrder) {
    PasswordRuleset parsed;
    ASSERT_EQ(ParseOutcome(parsed, validRuleset), "");
    EXPECT_EQ(parsed.GetRoleruleset().passwordPolicy.minUnicodeCount, 4294967295u);
    EXPECT_EQ(parsed.GetRoleruleset().passwordPolicy.intervalType, Kyr::System::Um::Services::PasswordPolicyInterval::Week);
    EXPECT_EQ(ToJsonText(parsed), validRuleset);
}

TEST(PasswordRuleset, RefusesWhatDoesNotFitTheServiceStruct) {
    const String tooLong = "argument arg: Input string is too long";
    const auto notUInt = [](const char* name, const char* object) {
        return "parse: Element \"" + String(name) + "\" in Object \"" + object + "\" must have an unsigned int data type  ";
    };
    const auto key = [](const char* name, const String& value) { return String("\"") + name + "\":" + value; };
    struct Case {
        String from, to, outcome;
    };
    const std::vector<Case> cases = {
        {key("roleRulesetName", "\"admin\""), key("roleRulesetName", '"' + String(127, 'n') + '"'), ""},
        {key("roleRulesetName", "\"admin\""), key("roleRulesetName", '"' + String(128, 'n') + '"'), tooLong},
        {key("allowedASCIISymbols", "\"!#$\""), key("allowedASCIISymbols", '"' + String(63, '!') + '"'), ""},
        {key("allowedASCIISymbols", "\"!#$\""), key("allowedASCIISymbols", '"' + String(64, '!') + '"'), tooLong},
        {key("minCharCount", "12"), key("minCharCount", "0"), ""},
        {key("minCharCount", "12"), key("minCharCount", "4294967296"), notUInt("minCharCount", "passwordPolicyParameter")},
        {key("daysToWarning", "7"), key("daysToWarning", "-1"), notUInt("daysToWarning", "expirationPolicyParameter")},
        {key("intervalCount", "5"), key("intervalCount", "5.0"), notUInt("intervalCount", "passwordPolicyParameter")},
        {key("blockUsername", "true"), key("blockUsername", "1"),
         R"(parse: Element "blockUsername" in Object "passwordPolicyParameter" must have a bool data type  )"},
        {key("roleRulesetName", "\"admin\""), key("name", "\"admin\""),
         R"(parse: Element "roleRulesetName" in missing in root object "passwordRoleRulesets" )"},
        {"\"passwordPolicyParameter\":{", "\"passwordPolicyParameter\":[],\"x\":{", "parse: Invalid password policy parameter object"},
        {"\"expirationPolicyParameter\"", "\"expiration\"", "parse: Invalid expiration policy parameter object!"},
        {"\"Week\"", "\"Fortnight\"", "other: Invalid string for Enum 'Kyr::System::Um::Services::PasswordPolicyInterval' occurs: Fortnight"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.to.substr(0, 40));
        PasswordRuleset ruleset;
        EXPECT_EQ(ParseOutcome(ruleset, Replace(validRuleset, c.from, c.to)), c.outcome);
    }
}

} // namespace
