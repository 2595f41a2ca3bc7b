#pragma once
// The module library as a host sees it (loaded with dlopen, entered through its plain symbol, once
// per process, with a host domain already set), and settings files under /tmp.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"
#include "Kyr/System/Commons/Singleton.h"

namespace FrameTests {

inline const std::string libraryPath = KYR_BUILD_LIB_DIR "/libKyr.Services.Modules.Wbm.Um.so";

struct LoadedModuleLibrary {
    using AppDomain = Kyr::System::Commons::AppDomain;

    AppDomain hostDomain{"host"};
    AppDomain firstCallDomain{"first"};
    Kyr::Services::Commons::Wbm::Modules::CreateWbmModuleLibraryFunction create = nullptr;
    Kyr::System::Commons::Extensibility::ModuleLibraryBase* library = nullptr;
    Kyr::Services::Commons::Wbm::Modules::WbmModuleFactory* factory = nullptr;

    static LoadedModuleLibrary& Get() {
        static LoadedModuleLibrary loaded;
        return loaded;
    }

private:
    LoadedModuleLibrary() {
        Kyr::System::Commons::Singleton<AppDomain>::SetInstance(hostDomain);
        void* handle = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) throw std::runtime_error(dlerror());
        create = reinterpret_cast<decltype(create)>(
            dlsym(handle, Kyr::Services::Commons::Wbm::Modules::CreateWbmModuleLibrarySymbolName));
        if (create == nullptr) throw std::runtime_error("CreateWbmModuleLibrary not found");
        library = create(firstCallDomain);
        factory = dynamic_cast<decltype(factory)>(library);
        if (factory == nullptr) throw std::runtime_error("the library object is no module factory");
    }
};

// A settings file holding `inner` in the document element (or `inner` alone when it is a document
// element itself), removed again with the object.
class SettingsFile {
public:
    explicit SettingsFile(const std::string& inner) : path("/tmp/kyr-frame-XXXXXX") {
        close(mkstemp(path.data()));
        const bool whole = inner.rfind("<UmWbmModuleSettingsDocument", 0) == 0;
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            << (whole ? inner : "<UmWbmModuleSettingsDocument>\n" + inner + "\n</UmWbmModuleSettingsDocument>\n");
    }
    ~SettingsFile() { std::remove(path.c_str()); }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;
    std::string path;
};

} // namespace FrameTests
