// The JSON envelopes' exact bytes and the member readers' answers and messages at their limits.
#include <gtest/gtest.h>

#include <functional>

#include "Kyr/System/Commons/Exceptions.h"
#include "config/JsonHelper.h"
#include "fakes/Thrown.h"
#include "handlers/LdapHandler.h"

namespace {

using Kyr::String;
using Kyr::Services::Commons::Wbm::Messages::WbmResponse;
using Kyr::Services::Modules::Wbm::Um::Internal::JsonHelper;
using Kyr::Services::Modules::Wbm::Um::Internal::LdapHandler;

String Codes(const WbmResponse& response) {
    const auto& header = response.GetHeader();
    return std::to_string(static_cast<int>(header.GetContentType())) + std::to_string(static_cast<int>(header.GetContentSubtype())) +
           std::to_string(static_cast<int>(header.GetCharset()));
}

TEST(JsonEnvelope, CompactFixedOrderEscapedFromBothBuilders) {
    for (auto build : {&JsonHelper::BuildJsonResponse, &LdapHandler::BuildJsonResponse}) {
        rapidjson::Document document;
        document.SetObject();
        rapidjson::Value result(rapidjson::kArrayType);
        result.PushBack(rapidjson::Value("a", document.GetAllocator()), document.GetAllocator());
        String errorText = "said \"no\"\nthen\\left\t\x01";
        const WbmResponse response = build(document, true, errorText, result);
        errorText = "gone";  // the envelope keeps its own copy
        EXPECT_EQ(response.GetBody(), R"({"error":true,"errorText":"said \"no\"\nthen\\left\t\u0001","result":["a"]})");
        EXPECT_TRUE(result.IsNull());
        EXPECT_EQ(Codes(response), "221");
    }
}

TEST(JsonEnvelope, TextTemplatesInsertRawText) {
    const WbmResponse unquoted = JsonHelper::BuildUnquotedResultResponse("true", "bad \"x\"\n{0}", true);
    EXPECT_EQ(unquoted.GetBody(), "{\"result\":true, \"errorText\":\"bad \"x\"\n{0}\", \"error\":true}");
    EXPECT_EQ(Codes(unquoted), "221");
}

using Reader = std::function<String(const rapidjson::Value&)>;
const Reader readUInt = [](const rapidjson::Value& v) { return std::to_string(JsonHelper::GetJsonUInt(v, "e", "obj")); };
const Reader readBool = [](const rapidjson::Value& v) { return String(JsonHelper::GetJsonBool(v, "e", "obj") ? "true" : "false"); };
const Reader readString = [](const rapidjson::Value& v) { return JsonHelper::GetJsonString(v, "e", "obj"); };
const Reader readArray = [](const rapidjson::Value& v) {
    String joined;
    for (const String& s : JsonHelper::GetJsonStringArray(v, "e", "obj")) joined += "[" + s + "]";
    return joined;
};

TEST(JsonReaders, AnswersAndMessages) {
    const String missing = "Element \"e\" in missing in root object \"obj\" ";
    const String notUInt = "Element \"e\" in Object \"obj\" must have an unsigned int data type  ";
    const String notString = "Element of Var \"e\" in Object \"obj\" must have a string data type  ";
    // value: as read; message: of the ParseException otherwise.
    struct Case { const char* json; Reader read; String value; String message; };
    const std::vector<Case> cases = {
        {R"({"e":0})", readUInt, "0", ""},
        {R"({"e":4294967295})", readUInt, "4294967295", ""},
        {R"({"e":-1})", readUInt, "", notUInt},
        {R"({"e":1.0})", readUInt, "", notUInt},
        {R"({"e":4294967296})", readUInt, "", notUInt},
        {R"({"e":"1"})", readUInt, "", notUInt},
        {R"({"E":1})", readUInt, "", missing},
        {R"({})", readBool, "", missing},
        {R"({"e":1})", readString, "", notString},
        {R"({"e":"a","e":"b"})", readString, "a", ""},
        {R"({"e":[],"e":["x"]})", readArray, "", ""},
        {R"({"e":["x","","y"]})", readArray, "[x][][y]", ""},
        {R"({"e":"x"})", readArray, "", "Element \"e\" in root object \"obj\" must be a JSON-Array"},
        {R"({})", readArray, "", "Element \"e\" is missing in root object \"obj\" "},
    };
    for (const auto& c : cases) {
        rapidjson::Document document;
        document.Parse(c.json);
        String value;
        const auto error = Kyr::Testing::Thrown<Kyr::System::Commons::ParseException>([&] { value = c.read(document); });
        EXPECT_EQ(value, c.value) << c.json;
        EXPECT_EQ(error ? error->GetMessage() : "", c.message) << c.json;
    }
}

} // namespace
