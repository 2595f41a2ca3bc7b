#pragma once
#include "Kyr/System/Commons/Api.h"

namespace Kyr::System::Commons::Extensibility {

// What a host holds of a loaded module library.
class KYR_API ModuleLibraryBase {
public:
    virtual ~ModuleLibraryBase();
};

} // namespace Kyr::System::Commons::Extensibility
