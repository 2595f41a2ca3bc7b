#include "Endpoint.h"

#include <stdexcept>

namespace Kyr::WebBench {

Endpoint ParseListeningLine(const std::string& line) {
    const std::string prefix = "Listening on ";
    auto start = line.find(prefix);
    if (start == std::string::npos) throw std::invalid_argument("not a listening line: " + line);
    std::string url = line.substr(start + prefix.size());
    Endpoint endpoint;
    if (url.rfind("https://", 0) == 0) {
        endpoint.tls = true;
        url.erase(0, 8);
    } else if (url.rfind("http://", 0) == 0) {
        url.erase(0, 7);
    } else {
        throw std::invalid_argument("unknown scheme: " + line);
    }
    auto end = url.find_first_of(" /\r\n");
    if (end != std::string::npos) url.resize(end);
    auto colon = url.rfind(':');
    if (colon == std::string::npos) throw std::invalid_argument("no port: " + line);
    endpoint.host = url.substr(0, colon);
    boost::system::error_code error;
    auto address = boost::asio::ip::make_address_v4(endpoint.host, error);
    if (error || !address.is_loopback()) throw std::invalid_argument("not a loopback address: " + line);
    std::size_t used = 0;
    unsigned long port = 0;
    try {
        port = std::stoul(url.substr(colon + 1), &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != url.size() - colon - 1 || port == 0 || port > 65535)
        throw std::invalid_argument("bad port: " + line);
    endpoint.port = static_cast<std::uint16_t>(port);
    return endpoint;
}

boost::asio::ip::address_v4 SourceAddress(unsigned block, unsigned index, unsigned perAddress) {
    unsigned host = 1 + index / (perAddress == 0 ? 1 : perAddress);
    if (block > 255 || host > 254) throw std::out_of_range("too many connections for one loopback block");
    return boost::asio::ip::address_v4((127u << 24) | (block << 8) | host);
}

boost::asio::ssl::context MakeClientTlsContext() {
    boost::asio::ssl::context context(boost::asio::ssl::context::tls_client);
    context.set_verify_mode(boost::asio::ssl::verify_none);
    return context;
}

} // namespace Kyr::WebBench
