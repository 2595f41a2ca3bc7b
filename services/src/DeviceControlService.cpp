#include "DeviceControlService.h"

#include "Kyr/System/Commons/Logging/Loggable.h"

namespace Kyr::PlatformServices {

namespace {
struct DeviceControlLog : Kyr::System::Commons::Logging::Loggable<DeviceControlLog> {};
}

bool DeviceControlService::RestartDevice() {
    if (!restartRequest) return false;
    try {
        DeviceControlLog::LogInfo("Device restart requested");
        restartRequest();
        return true;
    } catch (const std::exception& error) {
        DeviceControlLog::LogError("Device restart refused: {0}", error.what());
        return false;
    }
}

} // namespace Kyr::PlatformServices
