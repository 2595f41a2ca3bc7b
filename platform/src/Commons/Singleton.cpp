#include "Kyr/System/Commons/Singleton.h"

#include <map>
#include <memory>
#include <mutex>

#include "Kyr/System/Commons/Format.h"

namespace Kyr::System::Commons::Internal {

namespace {
// Slots are heap objects that are never freed or moved, so a reference handed out stays valid for
// the life of the process (also during static destruction of other libraries).
struct SlotRegistry {
    std::mutex mutex;
    std::map<String, std::unique_ptr<SingletonSlot>> slots;
};

SlotRegistry& GetRegistry() {
    static SlotRegistry* registry = new SlotRegistry(); // deliberately never destroyed
    return *registry;
}
} // namespace

SingletonSlot& GetSingletonSlot(const String& typeName) {
    SlotRegistry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    std::unique_ptr<SingletonSlot>& slot = registry.slots[typeName];
    if (!slot) slot = std::make_unique<SingletonSlot>();
    return *slot;
}

void ThrowSingletonNotCreated(const String& typeName) {
    throw Exception(SafeFormat("Singleton instance of type '{0}' was not created yet!", typeName));
}

} // namespace Kyr::System::Commons::Internal
