#include <cstring>

#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/RscString.h"

namespace Kyr::System::Commons {

void SecureStrncpy(char* destination, std::size_t destinationSize, const char* source, std::size_t count) {
    // The refused text is often a password: the exception names its length, never its bytes.
    if (count >= destinationSize)
        throw ArgumentException::Create("arg", SafeFormat("{0} bytes", count), "Input string is too long");
    // A zero byte inside would cut the text short where the service reads it, after the caller's
    // checks saw the whole text; such a text is refused as well.
    if (count > 0 && std::memchr(source, '\0', count) != nullptr)
        throw ArgumentException::Create("arg", SafeFormat("{0} bytes", count), "Input string contains a zero byte");
    if (count > 0) std::memcpy(destination, source, count);
    destination[count] = '\0';
}

} // namespace Kyr::System::Commons
