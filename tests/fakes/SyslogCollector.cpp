#include "fakes/SyslogCollector.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "fakes/TempDir.h"

namespace Kyr::Testing {

namespace fs = std::filesystem;

namespace {

int FreeLoopbackPort() {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(fd);
        throw std::runtime_error("No free loopback port");
    }
    ::close(fd);
    return ntohs(address.sin_port);
}

bool Listening(int port) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    const bool connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

void Run(const std::string& command) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) throw std::runtime_error("Failed: " + command);
}

} // namespace

CollectorTls MakeTestCertificates(const fs::path& folder, const std::string& caName) {
    fs::create_directories(folder);
    const std::string f = folder.string();
    const std::string key = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
    Run("openssl req -x509" + key + " -keyout " + f + "/ca.key -out " + f + "/ca.pem -days 2 -subj '/CN=" + caName + "'");
    Run("openssl req" + key + " -keyout " + f + "/server.key -out " + f + "/server.csr -subj /CN=127.0.0.1");
    std::ofstream(folder / "server.ext") << "subjectAltName=IP:127.0.0.1\n";
    Run("openssl x509 -req -in " + f + "/server.csr -CA " + f + "/ca.pem -CAkey " + f + "/ca.key -CAcreateserial -out " +
        f + "/server.pem -days 2 -extfile " + f + "/server.ext");
    return {folder / "ca.pem", folder / "server.pem", folder / "server.key"};
}

SyslogCollector::SyslogCollector(const fs::path& folder, std::optional<CollectorTls> tls)
    : folder(folder), port(FreeLoopbackPort()) {
    fs::create_directories(folder / "work");
    std::ofstream config(folder / "rsyslog.conf");
    config << "global(workDirectory=\"" << (folder / "work").string() << "\"";
    if (tls)
        config << " defaultNetstreamDriver=\"ossl\" defaultNetstreamDriverCAFile=\"" << tls->caFile.string()
               << "\" defaultNetstreamDriverCertFile=\"" << tls->certificateFile.string()
               << "\" defaultNetstreamDriverKeyFile=\"" << tls->keyFile.string() << "\"";
    config << ")\n";
    config << "module(load=\"imtcp\""
           << (tls ? " streamDriver.name=\"ossl\" streamDriver.mode=\"1\" streamDriver.authMode=\"anon\"" : "") << ")\n";
    config << "input(type=\"imtcp\" address=\"127.0.0.1\" port=\"" << port << "\")\n";
    config << "template(name=\"raw\" type=\"string\" string=\"%msgid% %structured-data% | %rawmsg%\\n\")\n";
    config << "action(type=\"omfile\" file=\"" << (folder / "received.log").string() << "\" template=\"raw\")\n";
    config.close();
    Start();
}

SyslogCollector::~SyslogCollector() { Stop(); }

void SyslogCollector::Start() {
    if (process > 0) return;
    const std::string conf = (folder / "rsyslog.conf").string(), pid = (folder / "rsyslogd.pid").string(),
                      out = (folder / "rsyslogd.out").string();
    process = ::fork();
    if (process < 0) throw std::runtime_error("fork failed");
    if (process == 0) {
        if (!freopen(out.c_str(), "a", stdout) || !freopen(out.c_str(), "a", stderr)) _exit(126);
        ::execlp("rsyslogd", "rsyslogd", "-n", "-f", conf.c_str(), "-i", pid.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    for (int tries = 0; tries < 200; ++tries) {
        if (Listening(port)) return;
        int status = 0;
        if (::waitpid(process, &status, WNOHANG) == process) {
            process = -1;
            throw std::runtime_error("rsyslogd ended at start: " + ReadFileText(out));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    Stop();
    throw std::runtime_error("rsyslogd does not listen: " + ReadFileText(out));
}

void SyslogCollector::Stop() {
    if (process <= 0) return;
    ::kill(process, SIGTERM);
    int status = 0;
    ::waitpid(process, &status, 0);
    process = -1;
}

std::string SyslogCollector::Received() const { return ReadFileText(folder / "received.log"); }

bool SyslogCollector::WaitFor(const std::string& text, std::chrono::seconds limit) const {
    const auto end = std::chrono::steady_clock::now() + limit;
    do {
        if (Received().find(text) != std::string::npos) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

} // namespace Kyr::Testing
