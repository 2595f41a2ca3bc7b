#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Kyr/System/Commons/String.h"
#include "Kyr/PlatformServices/Audit.h"
#include "net/ServerLimits.h"

namespace Kyr::WbmHost {

struct HostOptions {
    Kyr::String listenHost = "127.0.0.1";
    int listenPort = 8443; // 0: any free port (the chosen one is printed)
    Kyr::String dataDirectory = "data";
    Kyr::String modulePath;   // empty: the module library beside the host (../lib)
    Kyr::String settingsPath; // empty: <data directory>/UmWbmModuleSettings.xml
    Kyr::String initialSettingsSource; // copied to settingsPath when that does not exist yet
    Kyr::String webRoot;      // empty: the project's web/ folder
    unsigned long long hashOpsLimit = 0;
    std::size_t hashMemLimit = 0;
    std::chrono::minutes idleTimeout{30};
    bool allowAuthenticationDeactivation = false;
    Kyr::String initialAdminPassword;
    bool tls = true;             // --no-tls: plain HTTP (tests, or a reverse proxy in front)
    Kyr::String tlsCertificate;  // empty: the device certificate in the data directory
    Kyr::String tlsKey;
    int httpRedirectPort = -1;   // a plain-HTTP listener that only redirects to HTTPS; -1: none
    std::size_t maxConnections = ServerLimits{}.maxConnections;
    std::size_t maxConnectionsPerAddress = ServerLimits{}.maxConnectionsPerAddress;
    bool accessLog = ServerLimits{}.logEveryAnswer;
    Kyr::PlatformServices::AuditOptions audit; // --syslog, --audit-max-records, ...
};

struct ParsedOptions {
    std::optional<HostOptions> options; // nothing: do not start (help shown, or an error)
    Kyr::String message;                // the help text or the error
    bool isError = false;
};

// Reads the command line (`--name value` or `--name=value`); defaults as in HostOptions, with the
// empty paths resolved and the hash cost "interactive".
ParsedOptions ParseHostOptions(const std::vector<Kyr::String>& arguments, const Kyr::String& executablePath);

Kyr::String HostUsage();

} // namespace Kyr::WbmHost
