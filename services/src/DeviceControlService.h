#pragma once
#include <functional>

#include "Kyr/Device/Interface/IDeviceControlService.h"
#include "Kyr/System/Commons/Logging/Loggable.h"

namespace Kyr::PlatformServices {

// A restart of this device is a clean restart of the host: RestartDevice hands the request to the
// host, which restarts after the current answer went out.
class DeviceControlService final : public Kyr::Device::Interface::Services::IDeviceControlService,
                                   private Kyr::System::Commons::Logging::Loggable<DeviceControlService> {
public:
    explicit DeviceControlService(std::function<void()> restartRequest) : restartRequest(std::move(restartRequest)) {}
    bool RestartDevice() override;

private:
    std::function<void()> restartRequest;
};

} // namespace Kyr::PlatformServices
