#include <gtest/gtest.h>

#include "Kyr/Services/Commons/Wbm/Messages/JsonResponse.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"
#include "Kyr/Services/Commons/Wbm/Messages/WbmResponse.h"

using Kyr::String;
using namespace Kyr::Services::Commons::Wbm::Messages;

TEST(RequestQueryTest, FindsTheFirstParameterAndDecodesOnRequest) {
    struct Case {
        String query;
        String name;
        bool decode;
        bool found;
        String value;
    };
    const Case cases[] = {
        {"a=1&b=x%20y", "b", true, true, "x y"},
        {"a=1&b=x%20y", "b", false, true, "x%20y"},
        {"p=a+b%2Bc%3D%26", "p", true, true, "a b+c=&"},
        {"p=%zz%4", "p", true, true, "%zz%4"},
        {"p=%C3%A4", "p", true, true, "\xC3\xA4"},
        {"p=1&p=2", "p", true, true, "1"},
        {"flag&x=1", "flag", true, true, ""},
        {"x=", "x", true, true, ""},
        {"xy=1", "x", true, false, ""},
        {"a%20b=1", "a b", true, false, ""},
        {"a%20b=1", "a%20b", true, true, "1"},
        {"", "x", true, false, ""},
        {"&&x=v=w", "x", true, true, "v=w"},
    };
    for (const Case& c : cases) {
        String value = "untouched";
        EXPECT_EQ(RequestQuery(c.query).TryGetParameterValue(c.name, value, c.decode), c.found) << c.query;
        EXPECT_EQ(value, c.found ? c.value : String("untouched")) << c.query;
    }
}

TEST(RequestDataTest, CompleteDataKeepsZeroBytes) {
    const RequestData data(String("ab\0cd", 5));
    EXPECT_EQ(data.GetDataString(true), String("ab\0cd", 5));
    EXPECT_EQ(data.GetDataString(false), "ab");
}

TEST(ResponseHeaderTest, HeaderCodesNameTheirMimeType) {
    EXPECT_EQ(ResponseHeader(ContentType::Text, ContentSubtype::Json, CharsetType::Utf8).ToMimeType(), "application/json; charset=utf-8");
    EXPECT_EQ(ResponseHeader(static_cast<ContentType>(2), static_cast<ContentSubtype>(3), static_cast<CharsetType>(1)).ToMimeType(),
              "text/plain; charset=utf-8");
}

TEST(JsonResponseTest, WritesTheCompactEnvelope) {
    auto yes = std::make_shared<BooleanResult>(true);
    EXPECT_EQ(JsonResponse("", yes, 4).ToJsonString(), R"({"error":false,"errorText":"","result":true})");
    EXPECT_EQ(JsonResponse("Passwords don't \"match\"\n", std::make_shared<BooleanResult>(false), JsonResponseKind::Boolean).ToJsonString(),
              R"({"error":true,"errorText":"Passwords don't \"match\"\n","result":false})");
    EXPECT_EQ(JsonResponse("x", nullptr, 0).ToJsonString(), R"({"error":true,"errorText":"x","result":null})");
    EXPECT_EQ(JsonResponse("", yes, 4).GetKind(), JsonResponseKind::Boolean);
}
