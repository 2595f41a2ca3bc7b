#include "Kyr/System/Commons/Io/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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
    // unlink, not remove: a directory of that name is not a file and stays.
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
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
    // Files often go to shared temporary folders: a symbolic link planted at `path` must not redirect
    // the write, and a new file is readable by its owner only.
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) throw IoException("Cannot open file '" + path + "' for writing: " + ErrnoText());
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t result = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (result < 0 && errno == EINTR) continue;
        if (result <= 0) {
            const String reason = ErrnoText();
            ::close(fd);
            throw IoException("Cannot write file '" + path + "': " + reason);
        }
        written += static_cast<std::size_t>(result);
    }
    if (::close(fd) != 0) throw IoException("Cannot write file '" + path + "': " + ErrnoText());
}

} // namespace Kyr::System::Commons::Io
