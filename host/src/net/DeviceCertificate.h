#pragma once
#include <string>
#include <vector>

namespace Kyr::WbmHost {

struct CertificateFiles {
    std::string certificate;
    std::string key;
};

// The device's own certificate in `dataDirectory` ("tls/device.crt", "tls/device.key"): made on first
// use as a self-signed certificate with an ECDSA P-256 key, for `names` (host names and IP addresses,
// which all go into the subject alternative names; the first one is also the common name). The key
// file is readable by the owner only. Existing files are used as they are.
CertificateFiles EnsureDeviceCertificate(const std::string& dataDirectory, const std::vector<std::string>& names);

// The host names and addresses by which this device is probably reached: its host name, "localhost",
// the loopback addresses and the addresses of its interfaces, and `listenHost` when it is specific.
std::vector<std::string> DeviceNames(const std::string& listenHost);

// "AB:CD:..." — the SHA-256 fingerprint of the PEM certificate in `file`, as browsers show it.
std::string CertificateFingerprint(const std::string& file);

} // namespace Kyr::WbmHost
