#include "Kyr/Device/Interface/IDeviceControlService.h"

namespace Kyr::Device::Interface::Services {

IDeviceControlService::~IDeviceControlService() = default;

DeviceControlServiceProxyFactory& DeviceControlServiceProxyFactory::GetInstance() {
    static DeviceControlServiceProxyFactory instance;
    return instance;
}

const char* DeviceControlServiceProxyFactory::GetServiceName() const { return "Kyr.Device.Interface.DeviceControlService"; }

} // namespace Kyr::Device::Interface::Services
