#include "Kyr/System/Commons/Io/File.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "Kyr/System/Commons/Exceptions.h"

namespace Kyr::System::Commons::Io {

namespace {
String ErrnoText() { return String(std::strerror(errno)); }
} // namespace

bool File::Exists(const String& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

void File::Delete(const String& path) {
    if (std::remove(path.c_str()) != 0 && errno != ENOENT)
        throw IoException("Cannot delete file '" + path + "': " + ErrnoText());
}

std::vector<std::uint8_t> File::ReadAll(const String& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw IoException("Cannot open file '" + path + "' for reading");
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (stream.bad()) throw IoException("Cannot read file '" + path + "'");
    return bytes;
}

void File::WriteAll(const String& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    if (!stream) throw IoException("Cannot open file '" + path + "' for writing");
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) throw IoException("Cannot write file '" + path + "'");
}

} // namespace Kyr::System::Commons::Io
