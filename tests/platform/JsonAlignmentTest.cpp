#include <gtest/gtest.h>

#include <cstdint>

#include <rapidjson/document.h>

namespace {

bool Aligned(const void* address, std::size_t alignment) {
    return reinterpret_cast<std::uintptr_t>(address) % alignment == 0;
}

// Counts the values and members that sit at an address their type's alignment does not allow.
int CountMisaligned(const rapidjson::Value& value) {
    int misaligned = Aligned(&value, alignof(rapidjson::Value)) ? 0 : 1;
    if (value.IsObject()) {
        for (auto member = value.MemberBegin(); member != value.MemberEnd(); ++member) {
            if (!Aligned(&*member, alignof(rapidjson::Value::Member))) ++misaligned;
            misaligned += CountMisaligned(member->value);
        }
    } else if (value.IsArray()) {
        for (const auto& element : value.GetArray()) misaligned += CountMisaligned(element);
    }
    return misaligned;
}

// RapidJSON's pool hands out memory in steps of its alignment; where that is 4 bytes (32-bit
// targets), members and arrays after a copied string of odd length land 4 bytes off.
TEST(JsonAlignmentTest, ParsedValuesSitAtTheirTypesAlignment) {
    const char* documents[] = {
        R"({"a":{"b":1}})",
        R"({"userName":"abcde","list":[{"x":1.5},{"y":"fgh"}],"n":{"m":{"k":true}}})",
        R"([{"x":"a-long-enough-string-not-inline"},{"y":{"z":[1,2,3]}},{"w":"s"}])",
        R"({"rulesets":[{"name":"Admin ruleset x","minCharCount":8},{"name":"user","minCharCount":12}]})",
    };
    for (const char* text : documents) {
        rapidjson::Document document;
        ASSERT_FALSE(document.Parse(text).HasParseError()) << text;
        EXPECT_EQ(CountMisaligned(document), 0) << text;
    }
}

} // namespace
