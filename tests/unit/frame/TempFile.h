#pragma once
// Settings files for the tests, under /tmp, removed again with the object.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace FrameTests {

class TempFile {
public:
    explicit TempFile(const std::string& content) : path("/tmp/kyr-frame-XXXXXX") {
        close(mkstemp(path.data()));
        std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    }
    ~TempFile() { std::remove(path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const std::string& Path() const { return path; }

private:
    std::string path;
};

inline std::string SettingsDocument(const std::string& inner) {
    return "<?xml version=\"1.0\"?>\n<UmWbmModuleSettingsDocument>\n" + inner + "\n</UmWbmModuleSettingsDocument>\n";
}

} // namespace FrameTests
