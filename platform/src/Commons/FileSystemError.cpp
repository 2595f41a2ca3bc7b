#include "Kyr/System/Commons/Io/FileSystemError.h"

#include <cerrno>

#include "Kyr/System/Commons/EnumText.h"

namespace Kyr::System::Commons::Io {

namespace {
constexpr EnumName<FileSystemError> names[] = {
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

std::ostream& operator<<(std::ostream& stream, FileSystemError value) { return WriteEnumName(stream, value, names); }

std::istream& operator>>(std::istream& stream, FileSystemError& value) { return ReadEnumName(stream, value, names); }

} // namespace Kyr::System::Commons::Io
