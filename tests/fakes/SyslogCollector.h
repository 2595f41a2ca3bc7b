#pragma once
// A real syslog collector for tests: Debian's rsyslogd with its own configuration, pid file and work
// folder in a temporary folder, receiving RFC 5424 messages over TCP (optionally TLS) on a free
// loopback port and writing each raw message as one line to a file.
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace Kyr::Testing {

struct CollectorTls {
    std::filesystem::path caFile, certificateFile, keyFile;
};

// A test CA and a server certificate for 127.0.0.1 made with the openssl command in `folder`:
// ca.pem, server.pem, server.key. Throws when openssl fails.
CollectorTls MakeTestCertificates(const std::filesystem::path& folder, const std::string& caName = "Audit Test CA");

class SyslogCollector {
public:
    // Picks a free port and starts rsyslogd; throws when it does not listen within a few seconds.
    explicit SyslogCollector(const std::filesystem::path& folder, std::optional<CollectorTls> tls = std::nullopt);
    ~SyslogCollector();
    SyslogCollector(const SyslogCollector&) = delete;
    SyslogCollector& operator=(const SyslogCollector&) = delete;

    void Start(); // again on the same port after Stop
    void Stop();
    int Port() const { return port; }

    std::string Received() const;
    // Waits until the received messages contain `text` (polling the file); false after `limit`.
    bool WaitFor(const std::string& text, std::chrono::seconds limit = std::chrono::seconds(20)) const;

private:
    std::filesystem::path folder;
    int port = 0;
    pid_t process = -1;
};

} // namespace Kyr::Testing
