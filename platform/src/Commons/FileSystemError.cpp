#include "Kyr/System/Commons/Io/FileSystemError.h"

#include <cerrno>
#include <string>

namespace Kyr::System::Commons::Io {

namespace {
struct NamedError {
    FileSystemError value;
    const char* name;
};
constexpr NamedError names[] = {
    {FileSystemError::Success, "Success"},
    {FileSystemError::NotFound, "NotFound"},
    {FileSystemError::AccessDenied, "AccessDenied"},
    {FileSystemError::NoSpace, "NoSpace"},
    {FileSystemError::ReadOnlyFileSystem, "ReadOnlyFileSystem"},
    {FileSystemError::TooLarge, "TooLarge"},
    {FileSystemError::IoError, "IoError"},
};
} // namespace

FileSystemError FileSystemErrorFromErrno(int errorNumber) {
    switch (errorNumber) {
    case 0: return FileSystemError::Success;
    case ENOENT:
    case ENOTDIR: return FileSystemError::NotFound;
    case EACCES:
    case EPERM: return FileSystemError::AccessDenied;
    case ENOSPC:
    case EDQUOT: return FileSystemError::NoSpace;
    case EROFS: return FileSystemError::ReadOnlyFileSystem;
    case EFBIG: return FileSystemError::TooLarge;
    default: return FileSystemError::IoError;
    }
}

std::ostream& operator<<(std::ostream& stream, FileSystemError value) {
    for (const auto& entry : names)
        if (entry.value == value) return stream << entry.name;
    return stream << static_cast<std::uint32_t>(value);
}

std::istream& operator>>(std::istream& stream, FileSystemError& value) {
    std::string text;
    if (!(stream >> text)) return stream;
    for (const auto& entry : names) {
        if (text == entry.name) {
            value = entry.value;
            return stream;
        }
    }
    stream.setstate(std::ios::failbit);
    return stream;
}

} // namespace Kyr::System::Commons::Io
