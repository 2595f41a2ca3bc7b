#include "audit/ModuleRequestAudit.h"

#include <rapidjson/document.h>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "audit/AuditMasking.h"

namespace Kyr::WbmHost::Audit {

namespace Ps = Kyr::PlatformServices;
namespace Events = Ps::AuditEvents;

namespace {

// The value of form field `name` in request data as the module reads it (not URL-decoded).
std::string FormField(const std::string& data, const std::string& name) {
    std::size_t start = 0;
    while (start <= data.size()) {
        std::size_t end = data.find('&', start);
        if (end == std::string::npos) end = data.size();
        if (data.compare(start, name.size() + 1, name + "=") == 0) return data.substr(start + name.size() + 1, end - start - name.size() - 1);
        start = end + 1;
    }
    return {};
}

std::string JsonUserName(const std::string& data) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(data.c_str(), data.size()); // no recursion: any nesting depth
    if (document.HasParseError() || !document.IsObject()) return {};
    auto item = document.FindMember("userConfigItem");
    if (item == document.MemberEnd() || !item->value.IsObject()) return {};
    auto name = item->value.FindMember("userName");
    return name != item->value.MemberEnd() && name->value.IsString() ? name->value.GetString() : std::string();
}

std::string Target(const std::string& eventId, const std::string& data, const RequestOrigin& origin) {
    if (eventId == Events::UserAdded || eventId == Events::UserRemoved || eventId == Events::UserPasswordSet)
        return FormField(data, "username");
    if (eventId == Events::UserConfigChanged) return JsonUserName(data);
    if (eventId == Events::OwnPasswordChanged) return origin.user;
    if (eventId == Events::AuthenticationRequiredChanged) return "authentication";
    if (eventId == Events::RulesetsChanged) return "password rulesets";
    if (eventId == Events::BlockListChanged) return "password block list";
    if (eventId == Events::SessionPolicyChanged) return "session policy";
    if (eventId == Events::LdapConfigurationUploaded || eventId == Events::LdapEnabledChanged) return "ldap";
    if (eventId == Events::LoginTextChanged) return "login text";
    if (eventId == Events::RestartRequested) return "device";
    return {};
}

struct Outcome {
    bool success = false;
    std::string errorText;
};

Outcome OutcomeOf(int status, const std::string& answer) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(answer.c_str(), answer.size());
    Outcome outcome;
    if (document.HasParseError() || !document.IsObject()) {
        outcome.errorText = "HTTP status " + std::to_string(status);
        return outcome;
    }
    auto error = document.FindMember("error");
    auto text = document.FindMember("errorText");
    if (text != document.MemberEnd() && text->value.IsString()) outcome.errorText = text->value.GetString();
    outcome.success = status == 200 && error != document.MemberEnd() && error->value.IsBool() && !error->value.GetBool();
    if (!outcome.success && outcome.errorText.empty()) outcome.errorText = "HTTP status " + std::to_string(status);
    return outcome;
}

std::string RequestSummary(const std::string& eventId, const std::string& data, const RequestOrigin& origin) {
    if (eventId == Events::LdapConfigurationUploaded || eventId == Events::BlockListChanged)
        return std::to_string(data.size()) + " bytes";
    return MaskAuditDetail(data, origin.secrets, 512);
}

} // namespace

std::optional<Ps::AuditRecord> ModuleRequestRecord(const std::string& dataProvider, const std::string& function,
                                                   const std::string& requestData, int status,
                                                   const std::string& answer, const RequestOrigin& origin) {
    auto eventId = Events::EventOfModuleFunction(dataProvider, function);
    if (!eventId) return std::nullopt;
    Ps::AuditRecord record;
    record.eventId = *eventId;
    record.user = origin.user;
    record.source = origin.source;
    record.target = MaskAuditDetail(Target(*eventId, requestData, origin), origin.secrets, 256);
    const Outcome outcome = OutcomeOf(status, answer);
    record.outcome = outcome.success ? Ps::AuditOutcome::Success : Ps::AuditOutcome::Failure;
    const std::string summary = RequestSummary(*eventId, requestData, origin);
    record.detail = outcome.success ? summary : MaskAuditDetail(outcome.errorText, origin.secrets, 512) +
                                                    (summary.empty() ? "" : "; request: " + summary);
    return record;
}

} // namespace Kyr::WbmHost::Audit
