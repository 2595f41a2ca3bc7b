#pragma once
#include <stdexcept>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons {

// Base of every platform exception. what() and GetMessage() give the message unchanged.
class KYR_API Exception : public std::exception {
public:
    explicit Exception(String message);
    ~Exception() override;
    const char* what() const noexcept override;
    const String& GetMessage() const noexcept { return message; }

private:
    String message;
};

// A bad argument. GetMessage() is the message as given; argument name and value are kept apart.
class KYR_API ArgumentException : public Exception {
public:
    ArgumentException(String argumentName, String value, String message);
    ~ArgumentException() override;
    static ArgumentException Create(const String& argumentName, const String& value, const String& message);
    const String& GetArgumentName() const noexcept { return argumentName; }
    const String& GetValue() const noexcept { return value; }

private:
    String argumentName;
    String value;
};

class KYR_API InvalidOperationException : public Exception {
public:
    using Exception::Exception;
    ~InvalidOperationException() override;
};

class KYR_API InvalidCastException : public Exception {
public:
    using Exception::Exception;
    ~InvalidCastException() override;
};

class KYR_API ParseException : public Exception {
public:
    using Exception::Exception;
    ~ParseException() override;
};

// An error in an XML document; records the line the reader stood on (0 when unknown).
class KYR_API XmlException : public Exception {
public:
    XmlException(String message, int lineNumber);
    ~XmlException() override;
    int GetLineNumber() const noexcept { return lineNumber; }

private:
    int lineNumber;
};

// A failed file operation (Io::File).
class KYR_API IoException : public Exception {
public:
    using Exception::Exception;
    ~IoException() override;
};

} // namespace Kyr::System::Commons

namespace Kyr {
using System::Commons::Exception;
}
