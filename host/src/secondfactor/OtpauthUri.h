#pragma once
#include <string>

namespace Kyr::WbmHost {

// The key URI that authenticator apps read from a QR code:
// otpauth://totp/ISSUER:USER?secret=BASE32&issuer=ISSUER&algorithm=SHA1&digits=6&period=30,
// issuer and user percent-encoded.
std::string OtpauthUri(const std::string& issuer, const std::string& userName, const std::string& base32Secret);

// The device's name, which authenticator apps show beside the codes: its host name.
std::string DeviceName();

} // namespace Kyr::WbmHost
