#pragma once
// A fresh private folder under the system's temporary directory, removed with everything in it;
// and whole-file reading, for the tests that look at what was written.
#include <filesystem>
#include <string>
#include <vector>

namespace Kyr::Testing {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& Path() const { return path; }

private:
    std::filesystem::path path;
};

// The file's bytes, or "" when it cannot be read.
std::string ReadFileText(const std::filesystem::path& path);
// The regular files below `directory` whose bytes contain `text`.
std::vector<std::filesystem::path> FilesContaining(const std::filesystem::path& directory, const std::string& text);

} // namespace Kyr::Testing
