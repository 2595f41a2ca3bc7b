#pragma once
// The audit trail's options of wbm-host, for the host's command line:
//   --syslog tcp://HOST:PORT | tls://HOST:PORT   forward records to a syslog collector
//   --syslog-tls-trust-store NAME                 the device trust store that verifies a TLS collector
//   --audit-max-records N                         keep at most N records (default 100000)
//   --audit-fail-closed on|off                    refuse changes while records cannot be stored
#include <string>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::WbmHost::Audit {

// Applies the value of option `name` ("--syslog", ...) to `options`; false when `name` is no audit
// option. Throws std::invalid_argument naming the option for a bad value.
bool ApplyAuditHostOption(const std::string& name, const std::string& value,
                          Kyr::PlatformServices::AuditOptions& options);

// Checks the options together, once all are applied: a trust store belongs to a TLS collector and a
// TLS collector needs one. Throws std::invalid_argument.
void CheckAuditHostOptions(const Kyr::PlatformServices::AuditOptions& options);

// The lines for the host's --help.
const char* AuditHostOptionsUsage();

} // namespace Kyr::WbmHost::Audit
