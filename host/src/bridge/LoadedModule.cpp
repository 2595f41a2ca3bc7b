#include "bridge/LoadedModule.h"

#include <dlfcn.h>

#include <stdexcept>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"
#include "app/HostLoggers.h"

namespace Kyr::WbmHost {

namespace {
Kyr::String LoaderError() {
    const char* text = dlerror();
    return text != nullptr ? Kyr::String(text) : Kyr::String("unknown reason");
}
} // namespace

LoadedModule::LoadedModule(void* libraryHandle, ModuleRegistry& registry)
    : libraryHandle(libraryHandle), registry(registry) {}

std::unique_ptr<LoadedModule> LoadedModule::Load(const Kyr::String& libraryPath, const Kyr::String& moduleName,
                                                 Kyr::System::Commons::AppDomain& appDomain,
                                                 const Modules::ModuleInfo& moduleInfo, ModuleRegistry& registry) {
    void* handle = dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw std::runtime_error("Cannot load module library " + libraryPath + ": " + LoaderError());
    std::unique_ptr<LoadedModule> loaded(new LoadedModule(handle, registry));

    auto entry = reinterpret_cast<Modules::CreateWbmModuleLibraryFunction>(
        dlsym(handle, Modules::CreateWbmModuleLibrarySymbolName));
    if (entry == nullptr)
        throw std::runtime_error("Module library " + libraryPath + " has no entry " +
                                 Modules::CreateWbmModuleLibrarySymbolName + ": " + LoaderError());
    auto* library = entry(appDomain);
    auto* factory = dynamic_cast<Modules::WbmModuleFactory*>(library);
    if (factory == nullptr) throw std::runtime_error("Module library " + libraryPath + " offers no Wbm module factory");
    loaded->module = factory->CreateModule(moduleName);
    if (!loaded->module) throw std::runtime_error("Module library " + libraryPath + " has no module " + moduleName);

    // A failed set-up still gets its reset (the destructor), which withdraws what was registered.
    loaded->setUp = true;
    loaded->module->SetupModule(moduleInfo, registry);
    ModuleLoader::LogInfo("Module {0} set up from {1}", moduleName, libraryPath);
    return loaded;
}

LoadedModule::~LoadedModule() {
    if (module && setUp) {
        try {
            module->ResetModule(registry);
        } catch (const std::exception& error) {
            ModuleLoader::LogError("Resetting the module failed: {0}", error.what());
        } catch (...) {
            ModuleLoader::LogError("Resetting the module failed");
        }
    }
    module.reset();
    registry.Clear();
    if (libraryHandle != nullptr) dlclose(libraryHandle);
}

} // namespace Kyr::WbmHost
