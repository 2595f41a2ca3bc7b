#include "SystemUseNotificationService.h"

#include <cerrno>

#include "AtomicFile.h"

namespace Kyr::PlatformServices {

using Kyr::System::Commons::Io::FileSystemError;
using Kyr::System::Commons::Io::FileSystemErrorFromErrno;

FileSystemError SystemUseNotificationService::ReadNotification(std::vector<std::uint8_t>& notification) {
    std::string content;
    int error = ReadWholeFile(path, content, MaxBytes);
    if (error == ENOENT) {
        notification.clear();
        return FileSystemError::Success;
    }
    if (error != 0) return FileSystemErrorFromErrno(error);
    notification.assign(content.begin(), content.end());
    return FileSystemError::Success;
}

FileSystemError SystemUseNotificationService::WriteNotification(const std::vector<std::uint8_t>& notification) {
    if (notification.size() > MaxBytes) return FileSystemError::TooLarge;
    int error = WriteFileAtomically(path, std::string(notification.begin(), notification.end()));
    return error == 0 ? FileSystemError::Success : FileSystemErrorFromErrno(error);
}

} // namespace Kyr::PlatformServices
