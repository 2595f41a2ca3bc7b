#pragma once
#include <memory>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"
#include "Kyr/System/Rsc/IRscService.h"

namespace Kyr::System::Rsc {

// Process-wide registry of published services: name -> service object. The host fills it with the
// real services, a test with fakes. Thread-safe.
class KYR_API ServiceManager {
public:
    // The service published under `serviceName`, or nullptr (not an error). An empty name throws
    // ArgumentException (argument "TService", "Service does not specify a service provider").
    static std::shared_ptr<IRscService> GetService(const char* serviceName, IRscServiceProxyFactory& factory);
    // Typed lookup through the interface's proxy factory: nullptr when absent; InvalidCastException
    // "The service does not implement service interface '{0}'." when of the wrong type.
    template <class TService, class TFactory>
    static std::shared_ptr<TService> GetService();

    static void RegisterService(const String& serviceName, std::shared_ptr<IRscService> service);
    static void UnregisterService(const String& serviceName);
    static void Clear();
};

} // namespace Kyr::System::Rsc

#include "Kyr/System/Rsc/ServiceManager.inl"
