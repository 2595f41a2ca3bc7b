#pragma once
#include <cstdint>
#include <vector>

#include "Kyr/System/Commons/Io/FileSystemError.h"
#include "Kyr/System/Rsc/IRscService.h"

namespace Kyr::System::Commons::Services {

// The text shown to users before they log in, kept as bytes.
class KYR_API ISystemUseNotificationService : public Kyr::System::Rsc::IRscService {
public:
    ~ISystemUseNotificationService() override;
    virtual Io::FileSystemError ReadNotification(std::vector<std::uint8_t>& notification) = 0;
    virtual Io::FileSystemError WriteNotification(const std::vector<std::uint8_t>& notification) = 0;
};

class KYR_API SystemUseNotificationServiceProxyFactory : public Kyr::System::Rsc::IRscServiceProxyFactory {
public:
    static SystemUseNotificationServiceProxyFactory& GetInstance();
    const char* GetServiceName() const override; // "Kyr.System.Commons.SystemUseNotificationService"
};

} // namespace Kyr::System::Commons::Services
