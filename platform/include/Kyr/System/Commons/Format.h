#pragma once
#include <fmt/format.h>

#include <exception>
#include <utility>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons {

// The platform's format-exception handler: logs (error level) that `pattern` could not be formatted.
KYR_API void HandleFormatException(const char* pattern, const std::exception& error) noexcept;

// fmt formatting of a template known only at run time; on a formatting error the handler above is
// called and the result is the empty string.
template <class... Args>
String SafeFormat(const char* pattern, Args&&... args) {
    try {
        return fmt::format(fmt::runtime(pattern), std::forward<Args>(args)...);
    } catch (const std::exception& error) {
        HandleFormatException(pattern, error);
        return String();
    }
}

} // namespace Kyr::System::Commons
