#include "Kyr/System/Commons/Exceptions.h"

#include <utility>

namespace Kyr::System::Commons {

Exception::Exception(String message) : message(std::move(message)) {}
Exception::~Exception() = default;
const char* Exception::what() const noexcept { return message.c_str(); }

ArgumentException::ArgumentException(String argumentName, String value, String message)
    : Exception(std::move(message)), argumentName(std::move(argumentName)), value(std::move(value)) {}
ArgumentException::~ArgumentException() = default;

ArgumentException ArgumentException::Create(const String& argumentName, const String& value, const String& message) {
    return ArgumentException(argumentName, value, message);
}

InvalidOperationException::~InvalidOperationException() = default;
InvalidCastException::~InvalidCastException() = default;
ParseException::~ParseException() = default;
IoException::~IoException() = default;

XmlException::XmlException(String message, int lineNumber) : Exception(std::move(message)), lineNumber(lineNumber) {}
XmlException::~XmlException() = default;

} // namespace Kyr::System::Commons
