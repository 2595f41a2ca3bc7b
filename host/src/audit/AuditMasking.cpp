#include "audit/AuditMasking.h"

#include <cctype>

#include "audit/LogText.h"

namespace Kyr::WbmHost::Audit {

namespace {

constexpr std::size_t TokenLength = 32;

std::string MaskSecret(std::string text, const std::string& secret) {
    if (secret.empty()) return text;
    for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + 3))
        text.replace(at, secret.size(), "***");
    return text;
}

std::string MaskHexRuns(const std::string& text) {
    std::string masked;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t end = at;
        while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) ++end;
        if (end - at >= TokenLength) {
            masked += "***";
            at = end;
        } else if (end > at) {
            masked.append(text, at, end - at);
            at = end;
        } else {
            masked += text[at++];
        }
    }
    return masked;
}

} // namespace

std::string MaskAuditDetail(const std::string& text, const std::vector<std::string>& secrets, std::size_t maxLength) {
    std::string masked = RedactPasswords(text);
    for (const std::string& secret : secrets) masked = MaskSecret(std::move(masked), secret);
    // Cut only after masking, so that no cut leaves the start of a secret behind unmasked.
    return OneLine(MaskHexRuns(masked), maxLength);
}

} // namespace Kyr::WbmHost::Audit
