#include "secondfactor/SecondFactorBodies.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Kyr::WbmHost {

namespace {
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void Text(Writer& writer, const Kyr::String& text) { writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size())); }
Kyr::String Done(const rapidjson::StringBuffer& buffer) { return Kyr::String(buffer.GetString(), buffer.GetSize()); }
} // namespace

std::optional<std::map<Kyr::String, Kyr::String>> ParseStringMembers(const Kyr::String& body,
                                                                    const std::vector<const char*>& names) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(body.data(), body.size());
    if (document.HasParseError() || !document.IsObject()) return std::nullopt;
    std::map<Kyr::String, Kyr::String> members;
    for (const char* name : names) {
        auto member = document.FindMember(name);
        if (member == document.MemberEnd()) continue;
        if (!member->value.IsString()) return std::nullopt;
        members[name] = Kyr::String(member->value.GetString(), member->value.GetStringLength());
    }
    return members;
}

Kyr::String ChallengeBody(const Kyr::String& challenge, std::int64_t expiresInSeconds) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("secondFactorRequired");
    writer.Bool(true);
    writer.Key("challenge");
    Text(writer, challenge);
    writer.Key("expiresInSeconds");
    writer.Int64(expiresInSeconds);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String OwnSecondFactorBody(bool enrolled, bool required, const char* policy, std::uint32_t recoveryCodesLeft) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("enrolled");
    writer.Bool(enrolled);
    writer.Key("required");
    writer.Bool(required);
    writer.Key("policy");
    writer.String(policy);
    writer.Key("recoveryCodesLeft");
    writer.Uint(recoveryCodesLeft);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String EnrolmentBody(const Kyr::String& secret, const Kyr::String& otpauthUri, const Kyr::String& qrCodeSvg) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("secret");
    Text(writer, secret);
    writer.Key("otpauthUri");
    Text(writer, otpauthUri);
    writer.Key("qrCodeSvg");
    Text(writer, qrCodeSvg);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String RecoveryCodesBody(const std::vector<Kyr::String>& codes) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("recoveryCodes");
    writer.StartArray();
    for (const auto& code : codes) Text(writer, code);
    writer.EndArray();
    writer.EndObject();
    return Done(buffer);
}

Kyr::String PolicyBody(const char* policy) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("policy");
    writer.String(policy);
    writer.EndObject();
    return Done(buffer);
}

Kyr::String EnrolledUsersBody(const std::vector<Kyr::String>& userNames) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writer.StartObject();
    writer.Key("users");
    writer.StartArray();
    for (const auto& name : userNames) {
        writer.StartObject();
        writer.Key("userName");
        Text(writer, name);
        writer.Key("enrolled");
        writer.Bool(true);
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return Done(buffer);
}

} // namespace Kyr::WbmHost
