#include <cctype>
#include <stdexcept>

#include "Kyr/PlatformServices/Audit.h"

namespace Kyr::PlatformServices {

SyslogTarget ParseSyslogTarget(const std::string& text) {
    SyslogTarget target;
    std::string rest;
    if (text.rfind("tcp://", 0) == 0) {
        rest = text.substr(6);
        target.port = 514;
    } else if (text.rfind("tls://", 0) == 0) {
        rest = text.substr(6);
        target.port = 6514;
        target.tls = true;
    } else {
        throw std::invalid_argument("The syslog collector must be given as tcp://HOST:PORT or tls://HOST:PORT");
    }
    std::string port;
    if (!rest.empty() && rest.front() == '[') { // [IPv6]:PORT
        const std::size_t close = rest.find(']');
        if (close == std::string::npos) throw std::invalid_argument("Missing ']' after the IPv6 address");
        target.host = rest.substr(1, close - 1);
        if (close + 1 < rest.size()) {
            if (rest[close + 1] != ':') throw std::invalid_argument("Expected ':PORT' after the IPv6 address");
            port = rest.substr(close + 2);
            if (port.empty()) throw std::invalid_argument("Empty port");
        }
    } else {
        const std::size_t colon = rest.find(':');
        target.host = rest.substr(0, colon);
        if (colon != std::string::npos) {
            port = rest.substr(colon + 1);
            if (port.empty()) throw std::invalid_argument("Empty port");
        }
    }
    if (target.host.empty()) throw std::invalid_argument("No host name in the syslog collector address");
    for (char c : target.host)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '-' && c != ':' && c != '_')
            throw std::invalid_argument("Invalid character in the syslog collector's host name");
    if (!port.empty()) {
        if (port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos)
            throw std::invalid_argument("The port must be a number from 1 to 65535");
        target.port = std::stoi(port);
        if (target.port < 1 || target.port > 65535) throw std::invalid_argument("The port must be a number from 1 to 65535");
    }
    return target;
}

} // namespace Kyr::PlatformServices
