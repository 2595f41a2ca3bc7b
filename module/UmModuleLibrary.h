#pragma once
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/AppDomain.h"
#include "Kyr/System/Commons/Extensibility/ModuleFactory.h"
#include "Kyr/System/Commons/Extensibility/ModuleLibraryBase.h"

namespace Kyr::Services::Modules::Wbm::Um {

// The library object the host receives from CreateWbmModuleLibrary: adopts the host's application
// domain and logging, and makes the module "Um".
class UmModuleLibrary
    : public Kyr::System::Commons::Extensibility::ModuleLibraryBase,
      public Kyr::System::Commons::Extensibility::ModuleFactory<Kyr::Services::Commons::Wbm::Modules::IWbmModule> {
public:
    static constexpr const char* moduleName = "Um";

    explicit UmModuleLibrary(Kyr::System::Commons::AppDomain& appDomain);
    ~UmModuleLibrary() override;
    UmModuleLibrary(const UmModuleLibrary&) = delete;
    UmModuleLibrary& operator=(const UmModuleLibrary&) = delete;
};

} // namespace Kyr::Services::Modules::Wbm::Um
