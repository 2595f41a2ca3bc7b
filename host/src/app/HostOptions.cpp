#include "app/HostOptions.h"

#include "audit/AuditHostOptions.h"

#include <sodium.h>

#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

namespace Kyr::WbmHost {

namespace fs = std::filesystem;

Kyr::String HostUsage() {
    return "Usage: wbm-host [options]\n"
           "Serves the device's user-management web pages and HTTP API.\n\n"
           "  --listen HOST:PORT             address to serve on (default 127.0.0.1:8443; port 0: any free port)\n"
           "  --tls-cert FILE --tls-key FILE the server certificate (PEM, chain allowed) and its key (default: a\n"
           "                                 self-signed device certificate made in DATA-DIR/tls on first start);\n"
           "                                 SIGHUP reads them again without dropping connections\n"
           "  --http-redirect-port PORT      also listen for plain HTTP on PORT, answering only redirects to HTTPS\n"
           "  --no-tls                       serve plain HTTP (tests, or behind a TLS reverse proxy)\n"
           "  --max-connections N            open connections in all (default 2048)\n"
           "  --max-connections-per-address N  open connections from one IP address (default 64)\n"
           "  --access-log                   log every answered request (address, method, path, status); without\n"
           "                                 it only answers that report a fault of the server (5xx) are logged\n"
           "  --data-dir DIR                 database, security log and files (default ./data; created if missing)\n"
           "  --module FILE                  the module library (default: ../lib/" KYR_MODULE_FILE_NAME " beside the host)\n"
           "  --settings FILE                module settings (default DATA-DIR/UmWbmModuleSettings.xml,\n"
           "                                 created from the project's default on first start)\n"
           "  --web-root DIR                 the web pages (default: the project's web folder)\n"
           "  --hash-cost min|interactive|moderate|sensitive\n"
           "                                 cost of the password hashes (default interactive)\n"
           "  --idle-timeout-minutes N       end sessions idle for N minutes (default 30; 0: never)\n"
           "  --allow-auth-deactivation      allow switching the login requirement off\n"
           "  --admin-password PASSWORD      initial password of \"admin\" when the database is created\n"
           "                                 (default: a generated one, printed once)\n"
           "  --help                         this text\n" +
           Kyr::String(Audit::AuditHostOptionsUsage());
}

namespace {

struct HashCost {
    unsigned long long opsLimit;
    std::size_t memLimit;
};

std::optional<HashCost> ParseHashCost(const Kyr::String& name) {
    if (name == "min") return HashCost{crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN};
    if (name == "interactive") return HashCost{crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE};
    if (name == "moderate") return HashCost{crypto_pwhash_OPSLIMIT_MODERATE, crypto_pwhash_MEMLIMIT_MODERATE};
    if (name == "sensitive") return HashCost{crypto_pwhash_OPSLIMIT_SENSITIVE, crypto_pwhash_MEMLIMIT_SENSITIVE};
    return std::nullopt;
}

unsigned long ParseNumber(const Kyr::String& text, unsigned long maximum, const Kyr::String& option) {
    std::size_t used = 0;
    unsigned long value = 0;
    try {
        if (text.empty() || text[0] == '-' || text[0] == '+') throw std::invalid_argument(text);
        value = std::stoul(text, &used, 10);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || used == 0 || value > maximum)
        throw std::invalid_argument(option + " expects a number from 0 to " + std::to_string(maximum));
    return value;
}

void ParseListen(const Kyr::String& text, HostOptions& options) {
    auto colon = text.rfind(':');
    if (colon == Kyr::String::npos || colon == 0) throw std::invalid_argument("--listen expects HOST:PORT");
    Kyr::String host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    options.listenHost = host;
    options.listenPort = static_cast<int>(ParseNumber(text.substr(colon + 1), 65535, "--listen port"));
}

} // namespace

ParsedOptions ParseHostOptions(const std::vector<Kyr::String>& arguments, const Kyr::String& executablePath) {
    HostOptions options;
    Kyr::String hashCost = "interactive";
    using Setter = std::function<void(const Kyr::String&)>;
    const std::map<Kyr::String, Setter> valued = {
        {"--listen", [&](const Kyr::String& v) { ParseListen(v, options); }},
        {"--data-dir", [&](const Kyr::String& v) { options.dataDirectory = v; }},
        {"--module", [&](const Kyr::String& v) { options.modulePath = v; }},
        {"--settings", [&](const Kyr::String& v) { options.settingsPath = v; }},
        {"--web-root", [&](const Kyr::String& v) { options.webRoot = v; }},
        {"--hash-cost", [&](const Kyr::String& v) { hashCost = v; }},
        {"--idle-timeout-minutes",
         [&](const Kyr::String& v) { options.idleTimeout = std::chrono::minutes(ParseNumber(v, 10080, "--idle-timeout-minutes")); }},
        {"--admin-password", [&](const Kyr::String& v) { options.initialAdminPassword = v; }},
        {"--tls-cert", [&](const Kyr::String& v) { options.tlsCertificate = v; }},
        {"--tls-key", [&](const Kyr::String& v) { options.tlsKey = v; }},
        {"--http-redirect-port",
         [&](const Kyr::String& v) { options.httpRedirectPort = static_cast<int>(ParseNumber(v, 65535, "--http-redirect-port")); }},
        {"--max-connections",
         [&](const Kyr::String& v) { options.maxConnections = ParseNumber(v, 1000000, "--max-connections"); }},
        {"--max-connections-per-address",
         [&](const Kyr::String& v) { options.maxConnectionsPerAddress = ParseNumber(v, 1000000, "--max-connections-per-address"); }},
    };

    try {
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            Kyr::String name = arguments[i];
            std::optional<Kyr::String> value;
            if (auto equals = name.find('='); name.rfind("--", 0) == 0 && equals != Kyr::String::npos) {
                value = name.substr(equals + 1);
                name = name.substr(0, equals);
            }
            if (name == "--help" || name == "-h") return {std::nullopt, HostUsage(), false};
            if (name == "--allow-auth-deactivation" && !value) {
                options.allowAuthenticationDeactivation = true;
                continue;
            }
            if (name == "--no-tls" && !value) {
                options.tls = false;
                continue;
            }
            if (name == "--access-log" && !value) {
                options.accessLog = true;
                continue;
            }
            auto setter = valued.find(name);
            const bool audit = name.rfind("--syslog", 0) == 0 || name.rfind("--audit-", 0) == 0;
            if (setter == valued.end() && !audit) throw std::invalid_argument("Unknown option " + name);
            if (!value) {
                if (i + 1 >= arguments.size()) throw std::invalid_argument(name + " expects a value");
                value = arguments[++i];
            }
            if (setter != valued.end())
                setter->second(*value);
            else if (!Audit::ApplyAuditHostOption(name, *value, options.audit))
                throw std::invalid_argument("Unknown option " + name);
        }
        auto cost = ParseHashCost(hashCost);
        if (!cost) throw std::invalid_argument("--hash-cost expects min, interactive, moderate or sensitive");
        options.hashOpsLimit = cost->opsLimit;
        options.hashMemLimit = cost->memLimit;
        if (options.tlsCertificate.empty() != options.tlsKey.empty())
            throw std::invalid_argument("--tls-cert and --tls-key go together");
        if (!options.tls && (!options.tlsCertificate.empty() || options.httpRedirectPort >= 0))
            throw std::invalid_argument("--no-tls excludes --tls-cert, --tls-key and --http-redirect-port");
        Audit::CheckAuditHostOptions(options.audit);
        if (options.maxConnections == 0 || options.maxConnectionsPerAddress == 0)
            throw std::invalid_argument("The connection limits must be at least 1");
    } catch (const std::invalid_argument& error) {
        return {std::nullopt, Kyr::String(error.what()) + "\n\n" + HostUsage(), true};
    }

    if (options.dataDirectory.empty()) options.dataDirectory = ".";
    if (options.settingsPath.empty()) {
        options.settingsPath = (fs::path(options.dataDirectory) / "UmWbmModuleSettings.xml").string();
        options.initialSettingsSource = KYR_DEFAULT_SETTINGS_FILE;
    }
    if (options.modulePath.empty())
        options.modulePath = (fs::path(executablePath).parent_path() / ".." / "lib" / KYR_MODULE_FILE_NAME).lexically_normal().string();
    if (options.webRoot.empty()) options.webRoot = KYR_DEFAULT_WEB_ROOT;
    return {options, "", false};
}

} // namespace Kyr::WbmHost
