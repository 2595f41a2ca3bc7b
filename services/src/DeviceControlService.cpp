#include "DeviceControlService.h"

namespace Kyr::PlatformServices {

bool DeviceControlService::RestartDevice() {
    if (!restartRequest) return false;
    try {
        LogInfo("Device restart requested");
        restartRequest();
        return true;
    } catch (const std::exception& error) {
        LogError("Device restart refused: {0}", error.what());
        return false;
    }
}

} // namespace Kyr::PlatformServices
