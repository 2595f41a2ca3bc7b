#include "ldap/DirectoryBodies.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Kyr::WbmHost {

namespace {
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Text(Writer& writer, const Kyr::String& text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
Kyr::String Done(const rapidjson::StringBuffer& buffer) { return Kyr::String(buffer.GetString(), buffer.GetSize()); }

std::optional<Kyr::String> Member(const rapidjson::Value& object, const char* name, bool& valid) {
    auto found = object.FindMember(name);
    if (found == object.MemberEnd() || found->value.IsNull()) return std::nullopt;
    if (!found->value.IsString()) {
        valid = false;
        return std::nullopt;
    }
    return Kyr::String(found->value.GetString(), found->value.GetStringLength());
}
} // namespace

Kyr::String DirectoryStatusBody(const Kyr::PlatformServices::DirectoryStatus& status) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("enabled");
    writer.Bool(status.enabled);
    writer.Key("attempted");
    writer.Bool(status.attempted);
    writer.Key("reached");
    writer.Bool(status.reached);
    writer.Key("lastAttempt");
    if (status.attempted)
        writer.Int64(status.lastAttemptUnixSeconds);
    else
        writer.Null();
    writer.Key("server");
    Text(writer, status.server);
    writer.Key("lastError");
    Text(writer, status.lastError);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String DirectoryTestBody(const Kyr::PlatformServices::DirectoryTestResult& result) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("succeeded");
    writer.Bool(result.succeeded);
    writer.Key("server");
    Text(writer, result.server);
    writer.Key("failedStep");
    const Kyr::PlatformServices::DirectoryTestStep* failed = nullptr;
    for (const auto& step : result.steps)
        if (!step.succeeded && !failed) failed = &step;
    if (failed)
        Text(writer, failed->name);
    else
        writer.Null();
    writer.Key("steps");
    writer.StartArray();
    for (const auto& step : result.steps) {
        writer.StartObject();
        writer.Key("step");
        Text(writer, step.name);
        writer.Key("succeeded");
        writer.Bool(step.succeeded);
        writer.Key("detail");
        Text(writer, step.detail);
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return Done(buffer);
}

std::optional<DirectoryTestRequest> ParseDirectoryTestBody(const Kyr::String& body) {
    if (body.find_first_not_of(" \t\r\n") == Kyr::String::npos) return DirectoryTestRequest{};
    rapidjson::Document document;
    // Flat objects only: iterative parsing keeps a deeply nested body off the stack.
    document.Parse<rapidjson::kParseIterativeFlag>(body.data(), body.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    bool valid = true;
    std::optional<Kyr::String> userName = Member(document, "username", valid);
    std::optional<Kyr::String> password = Member(document, "password", valid);
    if (!valid) return std::nullopt;
    // A user name given as "" counts as none; a password without a user name is not used.
    if (!userName || userName->empty()) return DirectoryTestRequest{};
    return DirectoryTestRequest{std::move(userName), std::move(password)};
}

} // namespace Kyr::WbmHost
