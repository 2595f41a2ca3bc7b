#pragma once
// Small helpers shared by the policy tests: writing JSON compactly and editing a document by path.
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>

namespace PolicyTests {

inline std::string WriteCompact(const rapidjson::Value& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}

// Replaces (or, with replacement "<erase>", removes) the member at a JSON pointer path of `json`.
inline std::string Edit(const std::string& json, const std::string& path, const std::string& replacement) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    if (replacement == "<erase>") {
        rapidjson::Pointer(path.c_str()).Erase(document);
    } else {
        rapidjson::Document parsed;
        parsed.Parse(replacement.c_str());
        rapidjson::Value copy(parsed, document.GetAllocator());
        rapidjson::Pointer(path.c_str()).Set(document, copy);
    }
    return WriteCompact(document);
}

} // namespace PolicyTests
