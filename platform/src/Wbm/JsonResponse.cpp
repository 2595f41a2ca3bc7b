#include "Kyr/Services/Commons/Wbm/Messages/JsonResponse.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <utility>

namespace Kyr::Services::Commons::Wbm::Messages {

IJsonResult::~IJsonResult() = default;

String BooleanResult::ToJsonValue() const { return value ? "true" : "false"; }

JsonResponse::JsonResponse(String errorText, std::shared_ptr<const IJsonResult> result, JsonResponseKind kind)
    : errorText(std::move(errorText)), result(std::move(result)), kind(kind) {}

JsonResponse::JsonResponse(String errorText, std::shared_ptr<const IJsonResult> result, int kind)
    : JsonResponse(std::move(errorText), std::move(result), static_cast<JsonResponseKind>(kind)) {}

String JsonResponse::ToJsonString() const {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("error");
    writer.Bool(!errorText.empty());
    writer.Key("errorText");
    writer.String(errorText.data(), static_cast<rapidjson::SizeType>(errorText.size()));
    writer.Key("result");
    if (result) {
        const String value = result->ToJsonValue();
        writer.RawValue(value.data(), value.size(), rapidjson::kObjectType);
    } else {
        writer.Null();
    }
    writer.EndObject();
    return String(buffer.GetString(), buffer.GetSize());
}

} // namespace Kyr::Services::Commons::Wbm::Messages
