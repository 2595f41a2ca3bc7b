#pragma once
#include <cstddef>

#include "Kyr/System/Commons/String.h"

namespace Kyr::WbmHost {

// `byteCount` bytes from the system's secure random source, as lower-case hex.
Kyr::String RandomHexToken(std::size_t byteCount = 32);

// Compares two secrets in time that depends only on their length.
bool SecretsEqual(const Kyr::String& a, const Kyr::String& b);

} // namespace Kyr::WbmHost
