#pragma once
#include <cstddef>
#include <cstring>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons {

// Bounded copy: copies `count` bytes of `source` into `destination` (capacity `destinationSize`)
// and terminates it. A copy that would not fit with its terminating zero (count >= destinationSize)
// throws ArgumentException (argument "arg", "Input string is too long") and copies nothing; so does
// a source with a zero byte among its `count` bytes ("Input string contains a zero byte"), which
// would otherwise arrive cut short. The exception's value is the refused length, not the text
// (which may be a password).
KYR_API void SecureStrncpy(char* destination, std::size_t destinationSize, const char* source, std::size_t count);

} // namespace Kyr::System::Commons

namespace Kyr::System::Rsc {

// Fixed-capacity string of the platform's service calls: at most N-1 bytes plus a terminating zero.
template <std::size_t N>
class RscString {
public:
    static constexpr std::size_t Capacity = N;

    RscString() noexcept { data[0] = '\0'; }
    // Throws ArgumentException (argument "arg") when value.size() >= N or value holds a zero byte.
    RscString(const String& value) { Assign(value); } // NOLINT(google-explicit-constructor)
    RscString(const char* value) { Assign(value == nullptr ? String() : String(value)); } // NOLINT(google-explicit-constructor)

    void Assign(const String& value) { Kyr::System::Commons::SecureStrncpy(data, N, value.data(), value.size()); }
    const char* c_str() const noexcept { return data; }
    char* GetBuffer() noexcept { return data; }
    std::size_t GetLength() const noexcept { return std::strlen(data); }
    bool IsEmpty() const noexcept { return data[0] == '\0'; }
    // The text up to the terminating zero.
    String ToString() const { return String(data); }

    friend bool operator==(const RscString& a, const RscString& b) noexcept { return std::strcmp(a.data, b.data) == 0; }
    friend bool operator!=(const RscString& a, const RscString& b) noexcept { return !(a == b); }

private:
    char data[N];
};

} // namespace Kyr::System::Rsc
