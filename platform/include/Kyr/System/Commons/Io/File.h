#pragma once
#include <cstdint>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons::Io {

class KYR_API File {
public:
    static bool Exists(const String& path);
    // Removes the file (or a symbolic link itself); throws IoException when it exists and cannot be
    // removed.
    static void Delete(const String& path);
    // The whole file; throws IoException when it cannot be read.
    static std::vector<std::uint8_t> ReadAll(const String& path);
    // Replaces the file's content (a new file gets mode 0600); throws IoException when it cannot be
    // written, also when `path` is a symbolic link (never followed).
    static void WriteAll(const String& path, const std::vector<std::uint8_t>& bytes);
};

} // namespace Kyr::System::Commons::Io
