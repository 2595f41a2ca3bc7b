#pragma once
#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons {

// The host process's application domain: its name, used by logging to tell whose log line it is.
class KYR_API AppDomain {
public:
    explicit AppDomain(String name);
    const String& GetName() const noexcept { return name; }

private:
    String name;
};

} // namespace Kyr::System::Commons
