#pragma once
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/TypeName.h"

namespace Kyr::System::Rsc {

template <class TService, class TFactory>
std::shared_ptr<TService> ServiceManager::GetService() {
    TFactory& factory = TFactory::GetInstance();
    std::shared_ptr<IRscService> service = GetService(factory.GetServiceName(), factory);
    if (!service) return nullptr;
    auto typed = std::dynamic_pointer_cast<TService>(service);
    if (!typed)
        throw Kyr::System::Commons::InvalidCastException(Kyr::System::Commons::SafeFormat(
            "The service does not implement service interface '{0}'.", Kyr::System::Commons::GetTypeName<TService>()));
    return typed;
}

} // namespace Kyr::System::Rsc
