#include <gtest/gtest.h>

#include "Kyr/Services/Commons/Wbm/Messages/JsonResponse.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmResponse.h"

using Kyr::String;
using namespace Kyr::Services::Commons::Wbm::Messages;

TEST(RequestQueryTest, FindsTheFirstParameterAndDecodesOnRequest) {
    struct Case { String query; String name; bool decode; const char* value; }; // value nullptr: not found
    const Case cases[] = {
        {"a=1&b=x%20y", "b", false, "x%20y"},
        {"p=a+b%2Bc%3D%26%C3%A4", "p", true, "a b+c=&\xC3\xA4"},
        {"p=%zz%4", "p", true, "%zz%4"},
        {"p=1&p=2", "p", true, "1"},
        {"flag&x=", "flag", true, ""},
        {"&&x=v=w", "x", true, "v=w"},
        {"xy=1", "x", true, nullptr},
        {"a%20b=1", "a b", true, nullptr}, // names are compared as sent
        {"", "x", true, nullptr},
    };
    for (const Case& c : cases) {
        String value = "untouched";
        EXPECT_EQ(RequestQuery(c.query).TryGetParameterValue(c.name, value, c.decode), c.value != nullptr) << c.query;
        EXPECT_EQ(value, c.value != nullptr ? c.value : "untouched") << c.query;
    }
}

TEST(WbmMessagesTest, RequestDataResponseHeaderAndJsonResponse) {
    const RequestData data(String("ab\0cd", 5));
    EXPECT_EQ(data.GetDataString(true), String("ab\0cd", 5));
    EXPECT_EQ(data.GetDataString(false), "ab");
    EXPECT_EQ(ResponseHeader(ContentType::Text, ContentSubtype::Json, CharsetType::Utf8).ToMimeType(), "application/json; charset=utf-8");
    EXPECT_EQ(ResponseHeader(ContentType::Text, ContentSubtype::Plain, CharsetType::Utf8).ToMimeType(), "text/plain; charset=utf-8");
    EXPECT_EQ(JsonResponse("don't \"match\"\n", std::make_shared<BooleanResult>(false), 4).ToJsonString(),
              R"({"error":true,"errorText":"don't \"match\"\n","result":false})");
    EXPECT_EQ(JsonResponse("", nullptr, JsonResponseKind::None).ToJsonString(), R"({"error":false,"errorText":"","result":null})");
}
