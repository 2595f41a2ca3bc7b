#pragma once
#include <string>

#include "Kyr/System/Commons/Services/ISystemUseNotificationService.h"

namespace Kyr::PlatformServices {

// The login text in the file <data>/login-text, replaced atomically. No file yet: an empty text.
class SystemUseNotificationService final : public Kyr::System::Commons::Services::ISystemUseNotificationService {
public:
    static constexpr std::size_t MaxBytes = 64 * 1024;

    explicit SystemUseNotificationService(std::string path) : path(std::move(path)) {}
    Kyr::System::Commons::Io::FileSystemError ReadNotification(std::vector<std::uint8_t>& notification) override;
    Kyr::System::Commons::Io::FileSystemError WriteNotification(const std::vector<std::uint8_t>& notification) override;

private:
    std::string path;
};

} // namespace Kyr::PlatformServices
