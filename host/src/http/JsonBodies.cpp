#include "http/JsonBodies.h"

#include "session/SessionStore.h"

#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Kyr::WbmHost {

namespace {
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Text(Writer& writer, const Kyr::String& text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
void TextOrNull(Writer& writer, const Kyr::String* text) {
    if (text != nullptr)
        Text(writer, *text);
    else
        writer.Null();
}
Kyr::String Done(const rapidjson::StringBuffer& buffer) { return Kyr::String(buffer.GetString(), buffer.GetSize()); }
} // namespace

Kyr::String ErrorBody(const Kyr::String& errorText) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("error");
    writer.Bool(true);
    writer.Key("errorText");
    Text(writer, errorText);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String SessionsBody(const std::vector<SessionView>& sessions) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("sessions");
    writer.StartArray();
    for (const auto& session : sessions) {
        writer.StartObject();
        writer.Key("handle");
        Text(writer, session.handle);
        writer.Key("userName");
        Text(writer, session.userName);
        writer.Key("sourceAddress");
        Text(writer, session.sourceAddress);
        writer.Key("loginTime");
        writer.Int64(session.loginTimeMs);
        writer.Key("lastActivity");
        writer.Int64(session.lastActivityMs);
        writer.Key("expires");
        if (session.expiresMs > 0)
            writer.Int64(session.expiresMs);
        else
            writer.Null();
        writer.Key("own");
        writer.Bool(session.own);
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return Done(buffer);
}

Kyr::String PasswordChangeRequiredBody() {
    return R"({"error":true,"errorText":"Password change required","passwordChangeRequired":true})";
}

Kyr::String SecondFactorEnrolmentRequiredBody() {
    return R"({"error":true,"errorText":"Second factor enrolment required","secondFactorEnrolmentRequired":true})";
}

Kyr::String NoErrorBody() { return R"({"error":false})"; }

Kyr::String LoginBody(const Kyr::String& userName, const Kyr::String& csrfToken, bool passwordChangeRequired,
                      bool secondFactorEnrolmentRequired) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("userName");
    Text(writer, userName);
    writer.Key("csrfToken");
    Text(writer, csrfToken);
    writer.Key("passwordChangeRequired");
    writer.Bool(passwordChangeRequired);
    writer.Key("secondFactorEnrolmentRequired");
    writer.Bool(secondFactorEnrolmentRequired);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String SessionBody(const Kyr::String* userName, const Kyr::String* csrfToken, bool passwordChangeRequired,
                        bool authenticationRequired, bool directoryUser, bool secondFactorEnrolmentRequired) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("loggedIn");
    writer.Bool(userName != nullptr);
    writer.Key("userName");
    TextOrNull(writer, userName);
    writer.Key("csrfToken");
    TextOrNull(writer, csrfToken);
    writer.Key("passwordChangeRequired");
    writer.Bool(passwordChangeRequired);
    writer.Key("authenticationRequired");
    writer.Bool(authenticationRequired);
    writer.Key("directoryUser");
    writer.Bool(directoryUser);
    writer.Key("secondFactorEnrolmentRequired");
    writer.Bool(secondFactorEnrolmentRequired);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String LinesBody(const std::vector<Kyr::String>& lines) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("lines");
    writer.StartArray();
    for (const auto& line : lines) Text(writer, line);
    writer.EndArray();
    writer.EndObject();
    return Done(buffer);
}

std::optional<Credentials> ParseLoginBody(const Kyr::String& body) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(body.data(), body.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    auto user = document.FindMember("username");
    auto password = document.FindMember("password");
    if (user == document.MemberEnd() || password == document.MemberEnd() || !user->value.IsString() ||
        !password->value.IsString())
        return std::nullopt;
    return Credentials{Kyr::String(user->value.GetString(), user->value.GetStringLength()),
                       Kyr::String(password->value.GetString(), password->value.GetStringLength())};
}

std::optional<std::vector<Kyr::String>> ParseNotificationLines(const Kyr::String& moduleAnswer) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(moduleAnswer.data(), moduleAnswer.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    auto error = document.FindMember("error");
    if (error != document.MemberEnd() && error->value.IsBool() && error->value.GetBool()) return std::nullopt;
    auto result = document.FindMember("result");
    if (result == document.MemberEnd() || !result->value.IsObject()) return std::nullopt;
    auto lines = result->value.FindMember("SystemUseNotification");
    if (lines == result->value.MemberEnd() || !lines->value.IsArray()) return std::nullopt;
    std::vector<Kyr::String> texts;
    for (const auto& line : lines->value.GetArray())
        if (line.IsString()) texts.emplace_back(line.GetString(), line.GetStringLength());
    return texts;
}

namespace {
// Counts the open arrays and objects; stops the parse once they go deeper than allowed.
struct DepthLimit : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, DepthLimit> {
    explicit DepthLimit(unsigned maxDepth) : maxDepth(maxDepth) {}
    bool Open() { return ++depth <= maxDepth; }
    bool Close() { return --depth, true; }
    bool StartObject() { return Open(); }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool StartArray() { return Open(); }
    bool EndArray(rapidjson::SizeType) { return Close(); }
    unsigned maxDepth;
    unsigned depth = 0;
};
} // namespace

bool JsonNestedTooDeeply(const Kyr::String& body, unsigned maxDepth) {
    DepthLimit limit(maxDepth);
    rapidjson::Reader reader;
    rapidjson::MemoryStream stream(body.data(), body.size());
    reader.Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseStopWhenDoneFlag>(stream, limit);
    return limit.depth > maxDepth;
}

} // namespace Kyr::WbmHost
