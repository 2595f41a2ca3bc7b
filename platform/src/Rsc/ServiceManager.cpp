#include "Kyr/System/Rsc/ServiceManager.h"

#include <map>
#include <mutex>
#include <utility>

#include "Kyr/System/Commons/Exceptions.h"

namespace Kyr::System::Rsc {

namespace {
struct Registry {
    std::mutex mutex;
    std::map<String, std::shared_ptr<IRscService>> services;
};

Registry& GetRegistry() {
    static Registry* registry = new Registry(); // never destroyed: services may be looked up during exit
    return *registry;
}
} // namespace

std::shared_ptr<IRscService> ServiceManager::GetService(const char* serviceName, IRscServiceProxyFactory& /*factory*/) {
    if (serviceName == nullptr || *serviceName == '\0')
        throw Kyr::System::Commons::ArgumentException::Create("TService", "", "Service does not specify a service provider");
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    auto found = registry.services.find(serviceName);
    return found == registry.services.end() ? nullptr : found->second;
}

void ServiceManager::RegisterService(const String& serviceName, std::shared_ptr<IRscService> service) {
    if (serviceName.empty())
        throw Kyr::System::Commons::ArgumentException::Create("serviceName", serviceName, "Service name must not be empty");
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.services[serviceName] = std::move(service);
}

void ServiceManager::UnregisterService(const String& serviceName) {
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    registry.services.erase(serviceName);
}

void ServiceManager::Clear() {
    std::map<String, std::shared_ptr<IRscService>> released;
    {
        Registry& registry = GetRegistry();
        std::lock_guard<std::mutex> lock(registry.mutex);
        released.swap(registry.services);
    }
    // Services are destroyed outside the lock: a destructor may look up other services.
}

} // namespace Kyr::System::Rsc
