#include <utility>

#include "Kyr/System/Commons/Sanitization/Filters.h"

namespace Kyr::System::Commons::Sanitization {

FilterBase::FilterBase(String name) : name(std::move(name)) {}
FilterBase::~FilterBase() = default;

} // namespace Kyr::System::Commons::Sanitization
