#pragma once
#include <cstdint>
#include <istream>
#include <ostream>

#include <fmt/ostream.h>

#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Commons::Io {

// Result of a file operation of a platform service; 0 is success. Printed as its name.
enum class FileSystemError : std::uint32_t {
    Success = 0,
    NotFound = 1,
    AccessDenied = 2,
    NoSpace = 3,
    ReadOnlyFileSystem = 4,
    TooLarge = 5,
    IoError = 6,
};

KYR_API FileSystemError FileSystemErrorFromErrno(int errorNumber);
KYR_API std::ostream& operator<<(std::ostream& stream, FileSystemError value);
KYR_API std::istream& operator>>(std::istream& stream, FileSystemError& value);

} // namespace Kyr::System::Commons::Io

template <>
struct fmt::formatter<Kyr::System::Commons::Io::FileSystemError> : fmt::ostream_formatter {};
