#pragma once
#include <typeinfo>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons {

// Readable full type name ("Kyr::System::Nm::NotificationManager") of a std::type_info.
KYR_API String DemangleTypeName(const std::type_info& type);

template <class T>
String GetTypeName() { return DemangleTypeName(typeid(T)); }

} // namespace Kyr::System::Commons
