#pragma once
#include <rapidjson/document.h>

#include <cstdint>
#include <sstream>
#include <vector>

#include "Kyr/Services/Commons/Wbm/Messages/WbmResponse.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Commons/TypeName.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// The module's JSON answers and the typed readers of JSON request members.
class JsonHelper {
public:
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    // Body {"error":..,"errorText":"..","result":..} written compactly, header JSON/UTF-8. `document`
    // must hold an object; `result` is moved into it (left null).
    static WbmResponse BuildJsonResponse(rapidjson::Document& document, bool error, const String& errorText,
                                         rapidjson::Value& result);

    // Envelopes written from a text template, with their own member order and spacing and the error
    // text inserted without escaping. `result` must already be a JSON value text (true, false, ...).
    static WbmResponse BuildUnquotedResultResponse(const String& result, const String& errorText, bool error);
    // As above, with the result placed inside quotes (unescaped).
    static WbmResponse BuildQuotedResultResponse(const String& result, const String& errorText, bool error);

    // Parses a request body into `document`. Iterative, so that a deeply nested body cannot exhaust
    // the stack of the request thread; errors are left to document.HasParseError().
    static void Parse(rapidjson::Document& document, const String& text);

    // {"SystemUseNotification":[lines...]}
    static rapidjson::Document ToJsonArray(const std::vector<String>& lines);

    // Readers of the first member named `elementName` of `object`. Missing or mistyped members throw
    // ParseException; `objectName` only names the object in the message.
    static String GetJsonString(const rapidjson::Value& object, const String& elementName, const String& objectName);
    static bool GetJsonBool(const rapidjson::Value& object, const String& elementName, const String& objectName);
    // An integer 0..4294967295 written without fraction or exponent.
    static std::uint32_t GetJsonUInt(const rapidjson::Value& object, const String& elementName, const String& objectName);
    static std::vector<String> GetJsonStringArray(const rapidjson::Value& object, const String& elementName,
                                                  const String& objectName);

    // The enumerator named by `text`, read with the enumeration's stream operator; an unknown name
    // throws Exception "Invalid string for Enum '<type>' occurs: <text>".
    template <class TEnum>
    static TEnum ParseJsonEnum(const String& text) {
        std::istringstream stream(text);
        TEnum value{};
        stream >> value;
        if (stream.fail())
            throw Kyr::System::Commons::Exception(Kyr::System::Commons::SafeFormat(
                "Invalid string for Enum '{0}' occurs: {1}", Kyr::System::Commons::GetTypeName<TEnum>(), text));
        return value;
    }
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal
