#include "DirectoryClient.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

namespace Kyr::PlatformServices {

namespace {
struct Loaded {
    const DirectoryClientFunctions* functions = nullptr;
    std::string failure;
};

// Where the product keeps its libraries: ../lib beside the executable's folder (installed and built
// alike). Named in full, because a sanitizer's dlopen looks the library up on its own run path.
std::string BesideTheExecutable() {
    std::error_code error;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return DirectoryClientLibrary;
    return (executable.parent_path().parent_path() / "lib" / DirectoryClientLibrary).string();
}

Loaded Load() {
    void* library = dlopen(BesideTheExecutable().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) library = dlopen(DirectoryClientLibrary, RTLD_NOW | RTLD_LOCAL); // the run path, the system's
    if (!library) return {nullptr, dlerror()};
    auto entry = reinterpret_cast<const DirectoryClientFunctions* (*)()>(dlsym(library, DirectoryClientEntry));
    if (!entry) return {nullptr, std::string(DirectoryClientLibrary) + " has no " + DirectoryClientEntry};
    return {entry(), {}};
}
} // namespace

const DirectoryClientFunctions& LoadDirectoryClient() {
    static const Loaded loaded = Load(); // once, whoever comes first; never unloaded
    if (!loaded.functions) throw DirectoryClientMissing("The directory client cannot be loaded: " + loaded.failure);
    return *loaded.functions;
}

} // namespace Kyr::PlatformServices
