#include "fakes/TempDir.h"

#include <stdlib.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Kyr::Testing {

namespace fs = std::filesystem;

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "kyr-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::string ReadFileText(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<fs::path> FilesContaining(const fs::path& directory, const std::string& text) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(directory))
        if (entry.is_regular_file() && ReadFileText(entry.path()).find(text) != std::string::npos) found.push_back(entry.path());
    return found;
}

} // namespace Kyr::Testing
