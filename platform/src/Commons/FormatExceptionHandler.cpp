#include <fmt/format.h>

#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Logging/LogManager.h"

namespace Kyr::System::Commons {

void HandleFormatException(const char* pattern, const std::exception& error) noexcept {
    try {
        static const Logging::LogAdapter logger("Kyr::System::Commons::Format");
        logger.Log(static_cast<int>(Logging::LogLevel::Error),
                   fmt::format("Cannot format '{}': {}", pattern == nullptr ? "" : pattern, error.what()));
    } catch (...) {
        // Logging must never turn a format error into a crash.
    }
}

} // namespace Kyr::System::Commons
