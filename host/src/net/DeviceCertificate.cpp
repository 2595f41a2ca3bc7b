#include "net/DeviceCertificate.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace Kyr::WbmHost {

namespace fs = std::filesystem;

namespace {

template <typename T, void (*Free)(T*)>
struct Deleter {
    void operator()(T* value) const { Free(value); }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY, EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509, X509_free>>;
using Bio = std::unique_ptr<BIO, Deleter<BIO, BIO_free_all>>;

void Check(bool ok, const char* what) {
    if (!ok) throw std::runtime_error(std::string("Cannot make the device certificate: ") + what);
}

bool IsAddress(const std::string& name) {
    unsigned char buffer[sizeof(in6_addr)];
    return inet_pton(AF_INET, name.c_str(), buffer) == 1 || inet_pton(AF_INET6, name.c_str(), buffer) == 1;
}

std::string AlternativeNames(const std::vector<std::string>& names) {
    std::string list;
    for (const auto& name : names) list += (list.empty() ? "" : ",") + std::string(IsAddress(name) ? "IP:" : "DNS:") + name;
    return list;
}

void AddExtension(X509* certificate, int id, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str());
    Check(extension != nullptr, "extension");
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

Certificate MakeCertificate(EVP_PKEY* key, const std::vector<std::string>& names) {
    Certificate certificate(X509_new());
    Check(certificate != nullptr, "out of memory");
    X509_set_version(certificate.get(), 2);
    unsigned char serial[16];
    Check(RAND_bytes(serial, sizeof serial) == 1, "no random numbers");
    serial[0] &= 0x7f; // a positive serial number
    BIGNUM* number = BN_bin2bn(serial, sizeof serial, nullptr);
    BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate.get()));
    BN_free(number);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -24 * 3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 10L * 365 * 24 * 3600);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    const std::string commonName = names.empty() ? "localhost" : names.front().substr(0, 64);
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), subject);
    AddExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(certificate.get(), NID_key_usage, "critical,digitalSignature");
    AddExtension(certificate.get(), NID_ext_key_usage, "serverAuth");
    if (!names.empty()) AddExtension(certificate.get(), NID_subject_alt_name, AlternativeNames(names));
    Check(X509_sign(certificate.get(), key, EVP_sha256()) > 0, "signing");
    return certificate;
}

// Written beside the target and renamed, so that a crash never leaves half a file.
void WriteAtomically(const fs::path& path, const std::string& content) {
    const fs::path temporary = path.string() + ".tmp-" + std::to_string(::getpid());
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << content;
        out.flush();
        Check(static_cast<bool>(out), "cannot write the file");
    }
    fs::permissions(temporary, fs::perms::owner_read | fs::perms::owner_write);
    fs::rename(temporary, path);
}

template <typename Write>
std::string Pem(Write write) {
    Bio memory(BIO_new(BIO_s_mem()));
    Check(memory && write(memory.get()) == 1, "PEM encoding");
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

} // namespace

CertificateFiles EnsureDeviceCertificate(const std::string& dataDirectory, const std::vector<std::string>& names) {
    const fs::path folder = fs::path(dataDirectory) / "tls";
    CertificateFiles files{(folder / "device.crt").string(), (folder / "device.key").string()};
    if (fs::exists(files.certificate) && fs::exists(files.key)) return files;
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    Key key(EVP_EC_gen("P-256"));
    Check(key != nullptr, "key generation");
    Certificate certificate = MakeCertificate(key.get(), names);
    WriteAtomically(files.key, Pem([&](BIO* out) {
                        return PEM_write_bio_PrivateKey(out, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
                    }));
    WriteAtomically(files.certificate, Pem([&](BIO* out) { return PEM_write_bio_X509(out, certificate.get()); }));
    return files;
}

std::vector<std::string> DeviceNames(const std::string& listenHost) {
    std::vector<std::string> names;
    auto add = [&names](const std::string& name) {
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    };
    char hostName[256] = "";
    if (gethostname(hostName, sizeof hostName - 1) == 0) add(hostName);
    add("localhost");
    if (listenHost != "0.0.0.0" && listenHost != "::") add(listenHost);
    add("127.0.0.1");
    add("::1");
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) == 0) {
        for (ifaddrs* entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
            if (entry->ifa_addr == nullptr || (entry->ifa_flags & IFF_UP) == 0) continue;
            char text[INET6_ADDRSTRLEN] = "";
            if (entry->ifa_addr->sa_family == AF_INET)
                inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(entry->ifa_addr)->sin_addr, text, sizeof text);
            else if (entry->ifa_addr->sa_family == AF_INET6 &&
                     !IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<sockaddr_in6*>(entry->ifa_addr)->sin6_addr))
                inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6*>(entry->ifa_addr)->sin6_addr, text, sizeof text);
            add(text);
        }
        freeifaddrs(interfaces);
    }
    return names;
}

std::string CertificateFingerprint(const std::string& file) {
    Bio in(BIO_new_file(file.c_str(), "r"));
    Check(in != nullptr, "cannot read the certificate");
    Certificate certificate(PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr));
    Check(certificate != nullptr, "not a PEM certificate");
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    Check(X509_digest(certificate.get(), EVP_sha256(), digest, &length) == 1, "digest");
    std::string text;
    char byte[4];
    for (unsigned int i = 0; i < length; ++i) {
        std::snprintf(byte, sizeof byte, "%02X", digest[i]);
        text += (i ? ":" : "") + std::string(byte);
    }
    return text;
}

} // namespace Kyr::WbmHost
