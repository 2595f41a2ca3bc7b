#include <cstring>

#include "Kyr/System/Commons/RscString.h"

namespace Kyr::System::Commons {

void SecureStrncpy(char* destination, std::size_t destinationSize, const char* source, std::size_t count) {
    if (count >= destinationSize) throw ArgumentException::Create("arg", String(source, count), "Input string is too long");
    if (count > 0) std::memcpy(destination, source, count);
    destination[count] = '\0';
}

} // namespace Kyr::System::Commons
