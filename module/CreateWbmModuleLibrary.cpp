#include <type_traits>

#include "Kyr/Services/Commons/Wbm/Modules/WbmModuleLibrary.h"
#include "module/UmModuleLibrary.h"

// The library's one entry point, found by the host under its plain name. The library object is
// made once, on the first call (a construction that throws is retried on the next call), and
// destroyed at process exit or unload; later arguments are ignored.
extern "C" __attribute__((visibility("default"))) Kyr::System::Commons::Extensibility::ModuleLibraryBase*
CreateWbmModuleLibrary(Kyr::System::Commons::AppDomain& appDomain) {
    static Kyr::Services::Modules::Wbm::Um::UmModuleLibrary library(appDomain);
    return &library;
}

// Keeps the entry's signature in step with what the host expects.
static_assert(std::is_same_v<decltype(&CreateWbmModuleLibrary),
                             Kyr::Services::Commons::Wbm::Modules::CreateWbmModuleLibraryFunction>);
