// Feeds arbitrary bytes to the host's parsers and filters of texts that clients send: the login
// body, the JSON depth check in front of the module, the login text answer, and the redaction of
// passwords and secrets in log lines and audit details. The first byte picks the parser. Nothing may
// crash or hang; a log line stays one line of printable bytes; a password field appended to any
// text never reaches the log line; a session id never reaches an audit detail.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "audit/AuditMasking.h"
#include "audit/LogText.h"
#include "http/JsonBodies.h"

namespace {

using namespace Kyr::WbmHost;

constexpr const char* passwordMarker = "Zq9secretZq9";
constexpr const char* sessionId = "5f1c0d9e8b7a69584736251403f2e1d0c9b8a7968574635241302f1e0d9c8b7a";

void ExpectOneLine(const std::string& line, std::size_t maxLength) {
    if (line.size() > maxLength + 3) std::abort();
    for (unsigned char c : line)
        if (c < 0x20 || c == 0x7f) std::abort();
}

// `text` followed by a password field whose value is the marker (texts holding the marker
// themselves say nothing).
void ExpectRedacted(const std::string& text, const std::string& field) {
    if (text.find(passwordMarker) != std::string::npos) return;
    if (RedactPasswords(text + field).find(passwordMarker) != std::string::npos) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 4) {
    case 0:
        ParseLoginBody(text);
        JsonNestedTooDeeply(text, 32);
        break;
    case 1:
        ParseNotificationLines(text);
        break;
    case 2:
        ExpectOneLine(OneLine(text, 256), 256);
        ExpectRedacted(text, std::string("&newPassword=") + passwordMarker);
        ExpectRedacted(text, std::string(",\"password\": \"") + passwordMarker + "\"");
        break;
    case 3: {
        if (text.find(sessionId) != std::string::npos) break;
        const std::string detail = Audit::MaskAuditDetail(text + sessionId + text, {sessionId}, 1024);
        if (detail.find(sessionId) != std::string::npos || detail.find('\n') != std::string::npos) std::abort();
        break;
    }
    }
    return 0;
}
