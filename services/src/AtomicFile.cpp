#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace Kyr::PlatformServices {

namespace {

int WriteAll(int fd, const std::string& content) {
    std::size_t written = 0;
    while (written < content.size()) {
        ssize_t result = ::write(fd, content.data() + written, content.size() - written);
        if (result < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        written += static_cast<std::size_t>(result);
    }
    return 0;
}

int SyncFolderOf(const std::string& path) {
    std::string folder = std::filesystem::path(path).parent_path().string();
    int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return errno;
    int error = ::fsync(fd) == 0 ? 0 : errno;
    ::close(fd);
    return error;
}

} // namespace

int WriteFileAtomically(const std::string& path, const std::string& content) {
    std::string temporary = path + ".tmp-XXXXXX";
    int fd = ::mkstemp(temporary.data());
    if (fd < 0) return errno;
    int error = WriteAll(fd, content);
    if (!error && ::fchmod(fd, 0600) != 0) error = errno; // the owner only, like everything in the data directory
    if (!error && ::fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && !error) error = errno;
    if (!error && ::rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error) {
        ::unlink(temporary.c_str());
        return error;
    }
    return SyncFolderOf(path);
}

int ReadWholeFile(const std::string& path, std::string& content, std::size_t maxBytes) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    std::string data;
    char buffer[8192];
    int error = 0;
    for (;;) {
        ssize_t result = ::read(fd, buffer, sizeof buffer);
        if (result < 0) {
            if (errno == EINTR) continue;
            error = errno;
            break;
        }
        if (result == 0) break;
        data.append(buffer, static_cast<std::size_t>(result));
        if (data.size() > maxBytes) {
            error = EFBIG;
            break;
        }
    }
    ::close(fd);
    if (!error) content = std::move(data);
    return error;
}

int AppendToFile(const std::string& path, const std::string& content) {
    int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return errno;
    int error = WriteAll(fd, content);
    if (!error && ::fdatasync(fd) != 0) error = errno;
    if (::close(fd) != 0 && !error) error = errno;
    return error;
}

} // namespace Kyr::PlatformServices
