#pragma once
// Keeps secrets out of audit records made from client input.
#include <string>
#include <vector>

namespace Kyr::WbmHost::Audit {

// `text` for a record's detail: values of fields named like "...password..." masked as in log lines,
// each of `secrets` (the caller's session id and CSRF token) and any other run of 32 or more hex
// digits (the form of session ids and tokens) replaced by "***"; on one line, at most `maxLength` bytes.
std::string MaskAuditDetail(const std::string& text, const std::vector<std::string>& secrets = {},
                            std::size_t maxLength = 1024);

} // namespace Kyr::WbmHost::Audit
