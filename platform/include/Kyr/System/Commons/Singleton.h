#pragma once
#include <atomic>
#include <memory>
#include <utility>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/TypeName.h"

namespace Kyr::System::Commons {

namespace Internal {
// One process-wide slot per type name, shared by every library of the process (the template below
// is instantiated in each library, the slot lives once in the platform library). Types are told
// apart by their full name only: a singleton type must not live in an anonymous namespace, whose
// names repeat from file to file.
struct KYR_API SingletonSlot {
    std::atomic<void*> instance{nullptr};
    void (*deleter)(void*) = nullptr; // set when the singleton owns the instance
};
KYR_API SingletonSlot& GetSingletonSlot(const String& typeName);
KYR_API void ThrowSingletonNotCreated(const String& typeName); // "Singleton instance of type '{0}' was not created yet!"
} // namespace Internal

template <class T>
class Singleton {
public:
    // The instance; throws Exception "Singleton instance of type '{0}' was not created yet!" when none.
    static T& GetInstance() {
        T* instance = static_cast<T*>(Slot().instance.load());
        if (instance == nullptr) Internal::ThrowSingletonNotCreated(GetTypeName<T>());
        return *instance;
    }
    static T* TryGetInstance() noexcept { return static_cast<T*>(Slot().instance.load()); }
    static bool IsCreated() noexcept { return TryGetInstance() != nullptr; }

    // Creates and owns the instance. Not for concurrent use with DestroyInstance.
    template <class... Args>
    static T& CreateInstance(Args&&... args) {
        auto owned = std::make_unique<T>(std::forward<Args>(args)...);
        Internal::SingletonSlot& slot = Slot();
        DestroyInstance();
        slot.deleter = [](void* p) { delete static_cast<T*>(p); };
        slot.instance.store(owned.get());
        return *owned.release();
    }
    // Points the singleton at an object owned elsewhere (the host's AppDomain, for example).
    static void SetInstance(T& instance) {
        DestroyInstance();
        Slot().instance.store(&instance);
    }
    // Deletes an owned instance (or forgets a borrowed one) and clears the pointer.
    static void DestroyInstance() {
        Internal::SingletonSlot& slot = Slot();
        void* previous = slot.instance.exchange(nullptr);
        auto deleter = slot.deleter;
        slot.deleter = nullptr;
        if (previous != nullptr && deleter != nullptr) deleter(previous);
    }

private:
    static Internal::SingletonSlot& Slot() { return Internal::GetSingletonSlot(GetTypeName<T>()); }
};

} // namespace Kyr::System::Commons
