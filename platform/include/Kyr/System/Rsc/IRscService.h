#pragma once
#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Rsc {

// Base of every platform service interface.
class KYR_API IRscService {
public:
    virtual ~IRscService();
};

// Names the service that a proxy reaches. Each service interface has one factory singleton.
class KYR_API IRscServiceProxyFactory {
public:
    virtual ~IRscServiceProxyFactory();
    virtual const char* GetServiceName() const = 0;
};

} // namespace Kyr::System::Rsc
