#include "Kyr/System/Commons/TypeName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace Kyr::System::Commons {

String DemangleTypeName(const std::type_info& type) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> demangled(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    if (status != 0 || !demangled) return String(type.name());
    return String(demangled.get());
}

} // namespace Kyr::System::Commons
