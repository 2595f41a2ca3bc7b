#include "secondfactor/OtpauthUri.h"

#include <unistd.h>

#include <cctype>
#include <climits>

namespace Kyr::WbmHost {

namespace {
std::string PercentEncoded(const std::string& text) {
    static constexpr char Hex[] = "0123456789ABCDEF";
    std::string encoded;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
            encoded += static_cast<char>(c);
        } else {
            encoded += '%';
            encoded += Hex[c >> 4];
            encoded += Hex[c & 15];
        }
    }
    return encoded;
}
} // namespace

std::string OtpauthUri(const std::string& issuer, const std::string& userName, const std::string& base32Secret) {
    const std::string encodedIssuer = PercentEncoded(issuer);
    return "otpauth://totp/" + encodedIssuer + ":" + PercentEncoded(userName) + "?secret=" + base32Secret +
           "&issuer=" + encodedIssuer + "&algorithm=SHA1&digits=6&period=30";
}

std::string DeviceName() {
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return "device";
    return name;
}

} // namespace Kyr::WbmHost
