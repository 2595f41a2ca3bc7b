#include "Kyr/System/Commons/AppDomain.h"

#include <utility>

namespace Kyr::System::Commons {

AppDomain::AppDomain(String name) : name(std::move(name)) {}

} // namespace Kyr::System::Commons
