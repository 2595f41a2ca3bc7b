#include "config/JsonHelper.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Kyr::Services::Modules::Wbm::Um::Internal {

using Kyr::Services::Commons::Wbm::Messages::CharsetType;
using Kyr::Services::Commons::Wbm::Messages::ContentSubtype;
using Kyr::Services::Commons::Wbm::Messages::ContentType;
using Kyr::Services::Commons::Wbm::Messages::ResponseHeader;
using Kyr::System::Commons::ParseException;
using Kyr::System::Commons::SafeFormat;

namespace {

// The trailing blanks and the "in missing" belong to the module's published messages.
constexpr const char* missingScalarTemplate = "Element \"{0}\" in missing in root object \"{1}\" ";
constexpr const char* missingArrayTemplate = "Element \"{0}\" is missing in root object \"{1}\" ";
constexpr const char* notStringTemplate = "Element of Var \"{0}\" in Object \"{1}\" must have a string data type  ";
constexpr const char* notBoolTemplate = "Element \"{0}\" in Object \"{1}\" must have a bool data type  ";
constexpr const char* notUIntTemplate = "Element \"{0}\" in Object \"{1}\" must have an unsigned int data type  ";
constexpr const char* notArrayTemplate = "Element \"{0}\" in root object \"{1}\" must be a JSON-Array";

constexpr const char* unquotedResultTemplate = "{{\"result\":{0}, \"errorText\":\"{1}\", \"error\":{2}}}";
constexpr const char* quotedResultTemplate = "{{\"result\":\"{0}\", \"errorText\":\"{1}\", \"error\":{2}}}";

ResponseHeader JsonHeader() { return ResponseHeader(ContentType::Text, ContentSubtype::Json, CharsetType::Utf8); }

[[noreturn]] void Fail(const char* pattern, const String& elementName, const String& objectName) {
    throw ParseException(SafeFormat(pattern, elementName, objectName));
}

// The first member of that name in document order.
const rapidjson::Value& FindMember(const rapidjson::Value& object, const String& elementName, const char* missingPattern,
                                   const String& objectName) {
    if (object.IsObject()) {
        const rapidjson::Value name(rapidjson::StringRef(elementName.data(), elementName.size()));
        const auto member = object.FindMember(name);
        if (member != object.MemberEnd()) return member->value;
    }
    Fail(missingPattern, elementName, objectName);
}

} // namespace

JsonHelper::WbmResponse JsonHelper::BuildJsonResponse(rapidjson::Document& document, bool error, const String& errorText,
                                                      rapidjson::Value& result) {
    auto& allocator = document.GetAllocator();
    document.AddMember("error", rapidjson::Value(error), allocator);
    document.AddMember("errorText",
                       rapidjson::Value(errorText.data(), static_cast<rapidjson::SizeType>(errorText.size()), allocator),
                       allocator);
    document.AddMember("result", result, allocator);

    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return WbmResponse(JsonHeader(), String(buffer.GetString(), buffer.GetSize()));
}

JsonHelper::WbmResponse JsonHelper::BuildUnquotedResultResponse(const String& result, const String& errorText, bool error) {
    return WbmResponse(JsonHeader(), SafeFormat(unquotedResultTemplate, result, errorText, error));
}

JsonHelper::WbmResponse JsonHelper::BuildQuotedResultResponse(const String& result, const String& errorText, bool error) {
    return WbmResponse(JsonHeader(), SafeFormat(quotedResultTemplate, result, errorText, error));
}

void JsonHelper::Parse(rapidjson::Document& document, const String& text) {
    document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
}

rapidjson::Document JsonHelper::ToJsonArray(const std::vector<String>& lines) {
    rapidjson::Document document;
    document.SetObject();
    auto& allocator = document.GetAllocator();
    rapidjson::Value array(rapidjson::kArrayType);
    for (const String& line : lines)
        array.PushBack(rapidjson::Value(line.data(), static_cast<rapidjson::SizeType>(line.size()), allocator), allocator);
    document.AddMember("SystemUseNotification", array, allocator);
    return document;
}

String JsonHelper::GetJsonString(const rapidjson::Value& object, const String& elementName, const String& objectName) {
    const rapidjson::Value& value = FindMember(object, elementName, missingScalarTemplate, objectName);
    if (!value.IsString()) Fail(notStringTemplate, elementName, objectName);
    return String(value.GetString(), value.GetStringLength());
}

bool JsonHelper::GetJsonBool(const rapidjson::Value& object, const String& elementName, const String& objectName) {
    const rapidjson::Value& value = FindMember(object, elementName, missingScalarTemplate, objectName);
    if (!value.IsBool()) Fail(notBoolTemplate, elementName, objectName);
    return value.GetBool();
}

std::uint32_t JsonHelper::GetJsonUInt(const rapidjson::Value& object, const String& elementName, const String& objectName) {
    const rapidjson::Value& value = FindMember(object, elementName, missingScalarTemplate, objectName);
    // Numbers written with a fraction or exponent are doubles to RapidJSON, never IsUint().
    if (!value.IsUint()) Fail(notUIntTemplate, elementName, objectName);
    return value.GetUint();
}

std::vector<String> JsonHelper::GetJsonStringArray(const rapidjson::Value& object, const String& elementName,
                                                   const String& objectName) {
    const rapidjson::Value& value = FindMember(object, elementName, missingArrayTemplate, objectName);
    if (!value.IsArray()) Fail(notArrayTemplate, elementName, objectName);
    std::vector<String> strings;
    strings.reserve(value.Size());
    for (const auto& element : value.GetArray()) {
        if (!element.IsString()) Fail(notStringTemplate, elementName, objectName);
        strings.emplace_back(element.GetString(), element.GetStringLength());
    }
    return strings;
}

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
