#pragma once
#include <boost/asio/ssl/context.hpp>

#include <memory>
#include <mutex>
#include <string>

namespace Kyr::WbmHost {

// The server's TLS settings with its certificate and key: TLS 1.2 and 1.3 only, forward-secret AEAD
// suites only, the server's order of preference, no compression, no renegotiation. Reload() reads the
// files again; connections that are open keep the context they started with, new ones get the new one.
class TlsContext {
public:
    // Throws std::runtime_error naming the file and the reason when the pair cannot be used.
    TlsContext(std::string certificateFile, std::string keyFile);

    std::shared_ptr<boost::asio::ssl::context> Current() const;
    // False (and the reason) when the files cannot be used; the current context then stays.
    bool Reload(std::string& error);
    const std::string& CertificateFile() const { return certificateFile; }

private:
    std::shared_ptr<boost::asio::ssl::context> Load() const;

    const std::string certificateFile;
    const std::string keyFile;
    mutable std::mutex mutex;
    std::shared_ptr<boost::asio::ssl::context> current;
};

} // namespace Kyr::WbmHost
