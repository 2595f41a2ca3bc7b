#include "module/UmModuleLibrary.h"

#include <memory>

#include "Kyr/System/Commons/Logging/LogManager.h"
#include "Kyr/System/Commons/Singleton.h"
#include "module/UmWbmModule.h"

namespace Kyr::Services::Modules::Wbm::Um {

using Kyr::System::Commons::AppDomain;

UmModuleLibrary::UmModuleLibrary(AppDomain& appDomain) {
    // The first domain wins: a host that already set its own keeps it.
    if (!Kyr::System::Commons::Singleton<AppDomain>::IsCreated())
        Kyr::System::Commons::Singleton<AppDomain>::SetInstance(appDomain);
    Kyr::System::Commons::Logging::LogManager::AssignAppDomain(appDomain);
    AddFactoryFunction(moduleName, []() -> std::unique_ptr<Kyr::Services::Commons::Wbm::Modules::IWbmModule> {
        return std::make_unique<UmWbmModule>();
    });
}

UmModuleLibrary::~UmModuleLibrary() = default;

} // namespace Kyr::Services::Modules::Wbm::Um
