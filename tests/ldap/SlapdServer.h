#pragma once
// A real OpenLDAP server for the tests: Debian's slapd started in a temporary folder on loopback
// ports (ldap:// with StartTLS, and ldaps://), with a certificate of a test CA made by openssl, and
// the entries of an LDIF loaded before the start. Stopped (and its folder removed) when it goes.
#include <sys/types.h>

#include <filesystem>
#include <string>

#include "fakes/TempDir.h"

namespace Kyr::Testing {

// A CA and a server certificate for 127.0.0.1 issued by it, in `folder`.
struct TestCertificates {
    TestCertificates(const std::filesystem::path& folder, const std::string& caName);
    std::filesystem::path caFile, serverCertificate, serverKey;
};

// The entries both directory test suites log in with: the base, the service account
// cn=reader (password ReaderPassword), and below ou=people and ou=groups alice in "engineers",
// bob in "admins" and carol in "visitors", each with the password "<Name>-Dir-Pass-1".
std::string PeopleAndGroupsLdif();

class SlapdServer {
public:
    static constexpr const char* Suffix = "dc=example,dc=test";
    static constexpr const char* ReaderDn = "cn=reader,dc=example,dc=test";
    static constexpr const char* ReaderPassword = "Reader-Secret-1";

    SlapdServer(const TestCertificates& certificates, const std::string& ldif = PeopleAndGroupsLdif());
    ~SlapdServer();
    SlapdServer(const SlapdServer&) = delete;
    SlapdServer& operator=(const SlapdServer&) = delete;

    void Stop();
    bool Running() const { return pid > 0; }
    std::string LdapUri() const { return "ldap://127.0.0.1:" + std::to_string(ldapPort); }
    std::string LdapsUri() const { return "ldaps://127.0.0.1:" + std::to_string(ldapsPort); }

private:
    bool Start();
    TempDir folder;
    int ldapPort = 0, ldapsPort = 0;
    pid_t pid = -1;
};

// A loopback port that accepts connections (the kernel's backlog) and never answers.
class SilentListener {
public:
    SilentListener();
    ~SilentListener();
    std::string Uri(const char* scheme) const { return std::string(scheme) + "://127.0.0.1:" + std::to_string(port); }

private:
    int socket = -1;
    int port = 0;
};

// A loopback port on which nothing listens.
int ClosedPort();

} // namespace Kyr::Testing
