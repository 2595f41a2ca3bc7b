#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "AtomicFile.h"
#include "Kyr/System/Commons/Io/File.h"
#include "ServicesTestSupport.h"

namespace Kyr::Testing {
namespace {

// A security log runs for years: files past 2 GiB must stay usable where long and off_t have 32
// bits (the controller). A sparse file makes one without writing gigabytes.
TEST_F(ServicesTest, FilesPastTwoGibibytesCanBeFoundAndAppendedTo) {
    const std::string path = directory + "/security.log";
    const off_t largeSize = (off_t{1} << 31) + 10;
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, largeSize), 0);
    ::close(fd);

    EXPECT_TRUE(Kyr::System::Commons::Io::File::Exists(path));
    ASSERT_EQ(Ps::AppendToFile(path, "entry\n"), 0);
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_size, largeSize + 6);
}

} // namespace
} // namespace Kyr::Testing
