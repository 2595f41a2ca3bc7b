#pragma once
// The module library as a host sees it: loaded with dlopen and entered through its plain symbol,
// once per process (its object is process-wide), with a host domain already set.
#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"
#include "Kyr/System/Commons/Singleton.h"

namespace FrameTests {

inline const std::string libraryPath = KYR_BUILD_LIB_DIR "/libKyr.Services.Modules.Wbm.Um.so";

struct LoadedModuleLibrary {
    using AppDomain = Kyr::System::Commons::AppDomain;
    using Factory = Kyr::Services::Commons::Wbm::Modules::WbmModuleFactory;

    AppDomain hostDomain{"host"};
    AppDomain firstCallDomain{"first"};
    Kyr::Services::Commons::Wbm::Modules::CreateWbmModuleLibraryFunction create = nullptr;
    Kyr::System::Commons::Extensibility::ModuleLibraryBase* library = nullptr;
    Factory* factory = nullptr;

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
        factory = dynamic_cast<Factory*>(library);
        if (factory == nullptr) throw std::runtime_error("the library object is no module factory");
    }
};

} // namespace FrameTests
