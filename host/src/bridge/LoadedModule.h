#pragma once
#include <memory>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/AppDomain.h"
#include "bridge/ModuleRegistry.h"

namespace Kyr::WbmHost {

// One module library loaded with dlopen, its module "Um" created and set up against the registry.
// Destruction resets the module, destroys it, empties the registry and unloads the library, in that
// order (handler code lives in the library).
class LoadedModule {
public:
    // Throws std::runtime_error (with the loader's reason) or what SetupModule throws.
    static std::unique_ptr<LoadedModule> Load(const Kyr::String& libraryPath, const Kyr::String& moduleName,
                                              Kyr::System::Commons::AppDomain& appDomain,
                                              const Modules::ModuleInfo& moduleInfo, ModuleRegistry& registry);
    ~LoadedModule();
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

private:
    LoadedModule(void* libraryHandle, ModuleRegistry& registry);

    void* libraryHandle;
    ModuleRegistry& registry;
    std::unique_ptr<Modules::IWbmModule> module;
    bool setUp = false;
};

} // namespace Kyr::WbmHost
