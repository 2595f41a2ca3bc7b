#pragma once
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/AppDomain.h"
#include "Kyr/System/Commons/Extensibility/ModuleFactory.h"
#include "Kyr/System/Commons/Extensibility/ModuleLibraryBase.h"

namespace Kyr::Services::Commons::Wbm::Modules {

// A Wbm module library exports one plain C symbol of this type. The library object it returns also
// is a WbmModuleFactory (reach it with dynamic_cast), through which the host creates modules by name.
using WbmModuleFactory = Kyr::System::Commons::Extensibility::ModuleFactory<IWbmModule>;
using CreateWbmModuleLibraryFunction =
    Kyr::System::Commons::Extensibility::ModuleLibraryBase* (*)(Kyr::System::Commons::AppDomain& appDomain);
inline constexpr const char* CreateWbmModuleLibrarySymbolName = "CreateWbmModuleLibrary";

} // namespace Kyr::Services::Commons::Wbm::Modules
