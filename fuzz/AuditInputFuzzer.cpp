// Feeds arbitrary bytes to what the audit trail takes from clients: the read API's query string,
// request data and answers of module functions, user names. Nothing may crash, hang or throw, and
// the JSON answer must stay valid UTF-8 JSON whatever bytes a record holds.
#include <rapidjson/document.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "audit/AccessRecords.h"
#include "audit/AuditQueryString.h"
#include "audit/AuditRendering.h"
#include "audit/ModuleRequestAudit.h"

namespace Audit = Kyr::WbmHost::Audit;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Audit::ParseAuditRequest(text);
    Audit::ParseUtcTime(text);

    Kyr::PlatformServices::AuditPage page;
    page.records.push_back(Audit::LoginRecord(false, text, "x", text, text));
    for (const char* function : {"AddUser", "ModifyUserConfig", "SetPasswordBlockList"})
        page.records.push_back(*Audit::ModuleRequestRecord("UserManagementDp", function, text, 200, text,
                                                           {text, text, {text.substr(0, 8)}}));
    const std::string json = Audit::RenderAuditJson(page, {});
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(json.c_str(), json.size());
    if (document.HasParseError()) std::abort();
    Audit::RenderAuditCsv(page);
    return 0;
}
