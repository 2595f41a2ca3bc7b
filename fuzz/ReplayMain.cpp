// Without libFuzzer (GCC builds), the fuzz target replays the files and folders named on the
// command line: the seed corpus then serves as a regression test.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
void Replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}
} // namespace

int main(int argc, char** argv) {
    std::size_t replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file()) Replay(entry.path()), ++replayed;
        } else {
            Replay(path), ++replayed;
        }
    }
    std::cout << "replayed " << replayed << " inputs\n";
    return replayed > 0 ? 0 : 1;
}
