#include "SlapdServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <tuple>

namespace Kyr::Testing {

namespace {

void Run(const std::string& command) {
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) throw std::runtime_error("Failed: " + command);
}

int BoundSocket(int& port) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("Cannot bind a loopback port");
    port = ntohs(address.sin_port);
    return fd;
}

bool Accepts(int port) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bool connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

} // namespace

int ClosedPort() {
    int port = 0;
    ::close(BoundSocket(port));
    return port;
}

TestCertificates::TestCertificates(const std::filesystem::path& folder, const std::string& caName)
    : caFile(folder / "ca.pem"), serverCertificate(folder / "server.pem"), serverKey(folder / "server.key") {
    std::filesystem::create_directories(folder);
    const std::string f = folder.string();
    std::ofstream(folder / "server.ext") << "subjectAltName = IP:127.0.0.1\n";
    Run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj '/CN=" + caName +
        "' -keyout " + f + "/ca.key -out " + caFile.string());
    Run("openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj '/O=Test Plant/CN=127.0.0.1' -keyout " +
        serverKey.string() + " -out " + f + "/server.csr");
    Run("openssl x509 -req -days 2 -in " + f + "/server.csr -CA " + caFile.string() + " -CAkey " + f +
        "/ca.key -CAcreateserial -extfile " + f + "/server.ext -out " + serverCertificate.string());
}

std::string PeopleAndGroupsLdif() {
    const std::string people = std::string("ou=people,") + SlapdServer::Suffix, groups = std::string("ou=groups,") + SlapdServer::Suffix;
    std::string ldif = std::string("dn: ") + SlapdServer::Suffix + "\nobjectClass: dcObject\nobjectClass: organization\ndc: example\no: Plant\n\n" +
                       "dn: " + SlapdServer::ReaderDn + "\nobjectClass: person\ncn: reader\nsn: Reader\nuserPassword: " +
                       SlapdServer::ReaderPassword + "\n\n" + "dn: " + people + "\nobjectClass: organizationalUnit\nou: people\n\n" +
                       "dn: " + groups + "\nobjectClass: organizationalUnit\nou: groups\n\n";
    for (const auto& [uid, password, group] : {std::tuple<std::string, std::string, std::string>{"alice", "Alice-Dir-Pass-1", "engineers"},
                                               {"bob", "Bob-Dir-Pass-1", "admins"},
                                               {"carol", "Carol-Dir-Pass-1", "visitors"}}) {
        const std::string dn = "uid=" + uid + "," + people;
        ldif += "dn: " + dn + "\nobjectClass: inetOrgPerson\nuid: " + uid + "\ncn: " + uid + "\nsn: " + uid + "\nuserPassword: " + password + "\n\n";
        ldif += "dn: cn=" + group + "," + groups + "\nobjectClass: groupOfNames\ncn: " + group + "\nmember: " + dn + "\n\n";
    }
    return ldif;
}

SlapdServer::SlapdServer(const TestCertificates& certificates, const std::string& ldif) {
    const std::filesystem::path f = folder.Path();
    std::filesystem::create_directories(f / "db");
    std::ofstream(f / "slapd.conf") << "include /etc/ldap/schema/core.schema\n"
                                       "include /etc/ldap/schema/cosine.schema\n"
                                       "include /etc/ldap/schema/inetorgperson.schema\n"
                                       "modulepath /usr/lib/ldap\nmoduleload back_mdb\n"
                                    << "pidfile " << (f / "slapd.pid").string() << "\n"
                                    << "argsfile " << (f / "slapd.args").string() << "\n"
                                    << "TLSCACertificateFile " << certificates.caFile.string() << "\n"
                                    << "TLSCertificateFile " << certificates.serverCertificate.string() << "\n"
                                    << "TLSCertificateKeyFile " << certificates.serverKey.string() << "\n"
                                    << "database mdb\nmaxsize 16777216\n"
                                    << "suffix \"" << Suffix << "\"\nrootdn \"cn=root," << Suffix << "\"\n"
                                    << "directory " << (f / "db").string() << "\n"
                                    << "access to attrs=userPassword by anonymous auth by self read by * none\n"
                                    << "access to * by dn.exact=\"" << ReaderDn << "\" read by self read by * none\n";
    std::ofstream(f / "data.ldif") << ldif;
    Run("slapadd -q -f " + (f / "slapd.conf").string() + " -l " + (f / "data.ldif").string());
    // A port taken between choosing and binding it only costs another try.
    for (int attempt = 0; attempt < 3; ++attempt)
        if (Start()) return;
    throw std::runtime_error("slapd did not start; see " + (f / "slapd.log").string());
}

bool SlapdServer::Start() {
    ldapPort = ClosedPort();
    ldapsPort = ClosedPort();
    const std::string urls = LdapUri() + "/ " + LdapsUri() + "/";
    const std::string config = (folder.Path() / "slapd.conf").string();
    const std::string log = (folder.Path() / "slapd.log").string();
    pid = ::fork();
    if (pid == 0) {
        // Goes with the test program, even when that one crashes.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        ::dup2(out, 1);
        ::dup2(out, 2);
        // -d keeps slapd in the foreground, as this process's child, so that its pid is the one to stop.
        ::execl("/usr/sbin/slapd", "slapd", "-d", "0", "-h", urls.c_str(), "-f", config.c_str(), nullptr);
        ::_exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        if (::waitpid(pid, &status, WNOHANG) == pid) {
            pid = -1;
            return false;
        }
        if (Accepts(ldapPort) && Accepts(ldapsPort)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    Stop();
    return false;
}

void SlapdServer::Stop() {
    if (pid <= 0) return;
    ::kill(pid, SIGTERM);
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    pid = -1;
}

SlapdServer::~SlapdServer() { Stop(); }

SilentListener::SilentListener() {
    socket = BoundSocket(port);
    ::listen(socket, 8); // connections complete in the backlog; nothing ever reads or writes them
}

SilentListener::~SilentListener() { ::close(socket); }

} // namespace Kyr::Testing
