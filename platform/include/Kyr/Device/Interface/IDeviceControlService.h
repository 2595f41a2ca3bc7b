#pragma once
#include "Kyr/System/Rsc/IRscService.h"

namespace Kyr::Device::Interface::Services {

class KYR_API IDeviceControlService : public Kyr::System::Rsc::IRscService {
public:
    ~IDeviceControlService() override;
    // Asks the device to restart; true when the restart was accepted.
    virtual bool RestartDevice() = 0;
};

class KYR_API DeviceControlServiceProxyFactory : public Kyr::System::Rsc::IRscServiceProxyFactory {
public:
    static DeviceControlServiceProxyFactory& GetInstance();
    const char* GetServiceName() const override; // "Kyr.Device.Interface.DeviceControlService"
};

} // namespace Kyr::Device::Interface::Services
