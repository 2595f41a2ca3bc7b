#include "audit/AuditHostOptions.h"

#include <stdexcept>

namespace Kyr::WbmHost::Audit {

namespace Ps = Kyr::PlatformServices;

namespace {
constexpr std::int64_t MostRecords = 10'000'000;
}

bool ApplyAuditHostOption(const std::string& name, const std::string& value, Ps::AuditOptions& options) {
    if (name == "--syslog") {
        const std::string trustStore = options.syslog ? options.syslog->trustStore : "";
        try {
            options.syslog = Ps::ParseSyslogTarget(value);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(std::string("--syslog: ") + error.what());
        }
        options.syslog->trustStore = trustStore; // the trust store may have come first
        return true;
    }
    if (name == "--syslog-tls-trust-store") {
        if (value.empty() || value.find('/') != std::string::npos || value.front() == '.')
            throw std::invalid_argument("--syslog-tls-trust-store expects the name of a trust store");
        if (!options.syslog) options.syslog = Ps::SyslogTarget{};
        options.syslog->trustStore = value;
        return true;
    }
    if (name == "--audit-max-records") {
        if (value.empty() || value.size() > 8 || value.find_first_not_of("0123456789") != std::string::npos ||
            std::stoll(value) < 1 || std::stoll(value) > MostRecords)
            throw std::invalid_argument("--audit-max-records expects a number from 1 to " + std::to_string(MostRecords));
        options.maxRecords = std::stoll(value);
        return true;
    }
    if (name == "--audit-fail-closed") {
        if (value != "on" && value != "off") throw std::invalid_argument("--audit-fail-closed expects on or off");
        options.failClosed = value == "on";
        return true;
    }
    return false;
}

void CheckAuditHostOptions(const Ps::AuditOptions& options) {
    if (!options.syslog) return;
    if (options.syslog->host.empty()) throw std::invalid_argument("--syslog-tls-trust-store needs --syslog tls://HOST:PORT");
    if (options.syslog->tls && options.syslog->trustStore.empty())
        throw std::invalid_argument("--syslog tls://... needs --syslog-tls-trust-store NAME");
    if (!options.syslog->tls && !options.syslog->trustStore.empty())
        throw std::invalid_argument("--syslog-tls-trust-store is only for a tls:// collector");
}

const char* AuditHostOptionsUsage() {
    return "  --syslog tcp://HOST:PORT|tls://HOST:PORT  forward audit records to a syslog collector\n"
           "  --syslog-tls-trust-store NAME  device trust store that verifies a TLS collector\n"
           "  --audit-max-records N          keep at most N audit records (default 100000; the oldest go)\n"
           "  --audit-fail-closed on|off     refuse changes while audit records cannot be stored (default off)\n";
}

} // namespace Kyr::WbmHost::Audit
