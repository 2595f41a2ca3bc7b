#include "Kyr/System/Commons/Extensibility/ModuleLibraryBase.h"

namespace Kyr::System::Commons::Extensibility {

ModuleLibraryBase::~ModuleLibraryBase() = default;

} // namespace Kyr::System::Commons::Extensibility
